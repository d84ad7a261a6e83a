// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace KxTileHost {

/// Keeps the secrets of a definition file off the screen: what its ${NAME} stand for is written
/// as ${NAME} again. Values that are whole addresses ("http://...") are no secrets.
class Secrets
{
public:
    /// @param path  a definition file; one that cannot be read has no secrets
    explicit Secrets(const std::string& path);

    std::string Mask(std::string text) const;

private:
    std::vector<std::pair<std::string, std::string>> m_valuesAndNames;
};

} // namespace KxTileHost
