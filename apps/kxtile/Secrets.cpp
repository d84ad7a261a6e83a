// SPDX-License-Identifier: MIT
#include "Secrets.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>

namespace KxTileHost {

Secrets::Secrets(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    for (std::size_t at = text.find("${"); at != std::string::npos; at = text.find("${", at + 2)) {
        const std::size_t close = text.find('}', at);
        if (close == std::string::npos)
            break;
        const std::string name = text.substr(at + 2, close - at - 2);
        // NOLINTNEXTLINE(concurrency-mt-unsafe): nobody changes the environment of this program
        const char* value = std::getenv(name.c_str());
        const bool address = value != nullptr && std::strstr(value, "://") != nullptr;
        if (value != nullptr && *value != '\0' && !address)
            m_valuesAndNames.emplace_back(value, "${" + name + "}");
    }
    // The longest first, so that no secret is torn by one that it contains.
    std::sort(m_valuesAndNames.begin(), m_valuesAndNames.end(), [](const auto& a, const auto& b) {
        return a.first.size() > b.first.size();
    });
}

std::string Secrets::Mask(std::string text) const
{
    for (const auto& [value, name] : m_valuesAndNames)
        for (std::size_t at = text.find(value); at != std::string::npos;
             at = text.find(value, at + name.size()))
            text.replace(at, value.size(), name);
    return text;
}

} // namespace KxTileHost
