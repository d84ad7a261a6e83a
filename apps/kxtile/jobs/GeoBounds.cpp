// SPDX-License-Identifier: MIT
#include "GeoBounds.h"

#include "Command.h"

#include <fmt/format.h>

#include <array>
#include <charconv>
#include <cmath>

namespace KxTileHost {

namespace {

/// Four numbers with commas between them, blanks behind these, and nothing else.
bool ReadNumbers(const std::string& text, std::array<double, 4>& numbers)
{
    const char* at = text.data();
    const char* const end = at + text.size();
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        while (i > 0 && at != end && *at == ' ')
            ++at;
        const auto read = std::from_chars(at, end, numbers[i], std::chars_format::fixed);
        if (read.ec != std::errc() || !std::isfinite(numbers[i]))
            return false;
        at = read.ptr;
        const bool last = i + 1 == numbers.size();
        if (last ? at != end : at == end || *at++ != ',')
            return false;
    }
    return true;
}

[[noreturn]] void ThrowOutside(const std::string& text)
{
    throw CommandError(
        kExitWrongUsage,
        fmt::format("'{}' lies outside longitude -180 to 180 and latitude -90 to 90", text),
        "Write WEST,SOUTH,EAST,NORTH: the longitude stands first.");
}

} // namespace

GeoBounds ParseGeoBounds(const std::string& text)
{
    std::array<double, 4> numbers{};
    if (!ReadNumbers(text, numbers))
        throw CommandError(
            kExitWrongUsage,
            fmt::format("'{}' are no bounds", text),
            "Write WEST,SOUTH,EAST,NORTH in degrees, for instance 5.9,45.8,10.5,47.8.");
    const auto [west, south, east, north] = numbers;
    if (std::abs(west) > 180.0 || std::abs(east) > 180.0 || std::abs(south) > 90.0 ||
        std::abs(north) > 90.0)
        ThrowOutside(text);
    if (south > north)
        throw CommandError(kExitWrongUsage,
                           fmt::format("'{}': the south edge lies north of the north edge", text),
                           "Write WEST,SOUTH,EAST,NORTH. Only the west may exceed the east: such "
                           "bounds go across the antimeridian.");
    return {west, south, east, north};
}

} // namespace KxTileHost
