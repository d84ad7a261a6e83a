// SPDX-License-Identifier: MIT
#include "Paths.h"

#include "Conventions.h"

#include <algorithm>
#include <charconv>

namespace KxOrigin {

namespace {

std::optional<char> ReadHexPair(std::string_view text)
{
    unsigned int value = 0;
    const char* end = text.data() + 2;
    if (text.size() < 2 || std::from_chars(text.data(), end, value, 16).ptr != end)
        return std::nullopt;
    return static_cast<char>(value);
}

std::optional<std::string> DecodePercent(std::string_view text)
{
    std::string decoded;
    for (std::size_t position = 0; position < text.size(); ++position) {
        if (text[position] != '%') {
            decoded += text[position];
            continue;
        }
        const auto character = ReadHexPair(text.substr(position + 1));
        if (!character)
            return std::nullopt;
        decoded += *character;
        position += 2;
    }
    return decoded;
}

} // namespace

std::optional<std::vector<std::string>> SplitPath(std::string_view path)
{
    if (path.empty() || path.front() != '/')
        return std::nullopt;
    std::vector<std::string> segments;
    while (!path.empty()) {
        path.remove_prefix(1);
        const std::size_t length = std::min(path.find('/'), path.size());
        auto segment = DecodePercent(path.substr(0, length));
        if (!segment)
            return std::nullopt;
        segments.push_back(std::move(*segment));
        path.remove_prefix(length);
    }
    return segments;
}

std::optional<std::int64_t> ReadNumber(std::string_view text)
{
    std::int64_t value = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (stop != end || error == std::errc::invalid_argument)
        return std::nullopt;
    if (error == std::errc::result_out_of_range)
        return text.front() == '-' ? -TileNumbers::kFarOutside : TileNumbers::kFarOutside;
    return std::clamp(value, -TileNumbers::kFarOutside, TileNumbers::kFarOutside);
}

std::optional<std::int64_t> ReadMarkedNumber(std::string_view text)
{
    const bool isMarked = text.starts_with('M');
    if (isMarked)
        text.remove_prefix(1);
    const auto magnitude = text.starts_with('-') ? std::nullopt : ReadNumber(text);
    if (!magnitude)
        return std::nullopt;
    return isMarked ? -*magnitude : *magnitude;
}

std::string_view QueryValue(std::string_view query, std::string_view name)
{
    while (!query.empty()) {
        const std::string_view part = query.substr(0, query.find('&'));
        const std::size_t sign = part.find('=');
        if (part.substr(0, sign) == name && sign != std::string_view::npos)
            return part.substr(sign + 1);
        query.remove_prefix(std::min(part.size() + 1, query.size()));
    }
    return {};
}

} // namespace KxOrigin
