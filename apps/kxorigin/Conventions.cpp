// SPDX-License-Identifier: MIT
#include "Conventions.h"

#include <algorithm>
#include <array>
#include <string>

namespace KxOrigin {

namespace {

bool HasLevel(std::int64_t level)
{
    return level >= 0 && level <= kMaxLevel;
}

bool IsWithin(std::int64_t value, std::int64_t count)
{
    return value >= 0 && value < count;
}

} // namespace

std::optional<PixelWindow> WindowFromNorth(const TileNumbers& numbers)
{
    if (!HasLevel(numbers.level))
        return std::nullopt;
    const std::int64_t tiles = std::int64_t{1} << numbers.level;
    if (!IsWithin(numbers.column, tiles) || !IsWithin(numbers.row, tiles))
        return std::nullopt;
    return PixelWindow{
        static_cast<int>(numbers.level), numbers.column * kTileEdge, numbers.row * kTileEdge};
}

std::optional<PixelWindow> WindowFromSouth(const TileNumbers& numbers)
{
    if (!HasLevel(numbers.level))
        return std::nullopt;
    const std::int64_t tiles = std::int64_t{1} << numbers.level;
    return WindowFromNorth({numbers.level, numbers.column, tiles - 1 - numbers.row});
}

std::optional<PixelWindow> WindowFromPole(const TileNumbers& numbers)
{
    if (!HasLevel(numbers.level))
        return std::nullopt;
    const std::int64_t columns = std::int64_t{1} << numbers.level;
    if (!IsWithin(numbers.column, columns) || !IsWithin(numbers.row, columns / 2))
        return std::nullopt;
    const std::int64_t poleRow = SidePixels(static_cast<int>(numbers.level)) / 4;
    return PixelWindow{static_cast<int>(numbers.level),
                       numbers.column * kTileEdge,
                       poleRow + numbers.row * kTileEdge};
}

std::optional<PixelWindow> WindowWithLevelOffset(const TileNumbers& numbers, std::int64_t offset)
{
    return WindowFromNorth({numbers.level - offset, numbers.column, numbers.row});
}

std::optional<TileNumbers> ReadQuadKey(std::string_view key)
{
    if (!std::all_of(
            key.begin(), key.end(), [](char digit) { return digit >= '0' && digit <= '3'; }))
        return std::nullopt;
    constexpr std::size_t kLongest = kMaxLevel;
    if (key.empty() || key.size() > kLongest)
        return TileNumbers{-1, 0, 0};
    TileNumbers numbers{static_cast<std::int64_t>(key.size()), 0, 0};
    for (const char digit : key) {
        const int bits = digit - '0';
        numbers.column = numbers.column * 2 + (bits & 1);
        numbers.row = numbers.row * 2 + (bits >> 1);
    }
    return numbers;
}

std::optional<TileNumbers>
ReadAxes(std::string_view order, std::int64_t first, std::int64_t second, std::int64_t third)
{
    std::string letters(order);
    std::sort(letters.begin(), letters.end());
    if (letters != "xyz")
        return std::nullopt;
    const std::array<std::int64_t, 3> values{first, second, third};
    return TileNumbers{values[order.find('z')], values[order.find('x')], values[order.find('y')]};
}

} // namespace KxOrigin
