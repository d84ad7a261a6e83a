// SPDX-License-Identifier: MIT
#include "serve/SourceId.h"

#include "serve/Route.h"

#include <algorithm>
#include <cctype>

namespace KxTileHost::Serve {

namespace {

constexpr std::size_t kLongestId = 64;

std::string Plain(const std::string& name)
{
    std::string id;
    for (const char c : name) {
        const bool plain = std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_';
        if (plain)
            id += c;
        else if (!id.empty() && id.back() != '-')
            id += '-';
    }
    id.resize(std::min(id.size(), kLongestId));
    while (!id.empty() && id.back() == '-')
        id.pop_back();
    return id.empty() ? "source" : id;
}

std::string Lower(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) {
        return static_cast<char>(std::tolower(c));
    });
    return text;
}

} // namespace

std::string SourceIds::Take(const std::string& name)
{
    const std::string plain = Plain(name);
    std::string id = plain;
    for (int number = 2; IsReservedName(Lower(id)) || !m_taken.insert(Lower(id)).second; ++number)
        id = plain + "-" + std::to_string(number);
    m_given.insert(id);
    return id;
}

} // namespace KxTileHost::Serve
