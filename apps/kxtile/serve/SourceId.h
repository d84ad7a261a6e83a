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
    /// Whether a source has exactly that name.
    bool IsTaken(const std::string& id) const { return m_given.count(id) > 0; }

private:
    std::set<std::string> m_taken; ///< in lower case
    std::set<std::string> m_given; ///< as they stand in addresses
};

} // namespace KxTileHost::Serve
