// SPDX-License-Identifier: MIT
#pragma once

#include <set>
#include <string>

namespace KxTileHost::Serve {

/// Gives sources the names that stand for them in addresses: letters, digits, '-' and '_', each
/// name once.
class SourceIds
{
public:
    /// @param name  a file's name without folder and extension, or any other text
    /// @return made of it; what an address cannot hold becomes '-', and a number tells apart what
    ///         would be the same, without regard to case
    std::string Take(const std::string& name);

private:
    std::set<std::string> m_taken; ///< in lower case
};

} // namespace KxTileHost::Serve
