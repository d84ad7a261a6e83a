// SPDX-License-Identifier: MIT
#include "Conventions.h"

#include <algorithm>

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
    const auto value = [&](char letter) -> std::optional<std::int64_t> {
        switch (order.find(letter)) {
        case 0:
            return first;
        case 1:
            return second;
        case 2:
            return third;
        default:
            return std::nullopt;
        }
    };
    const auto level = value('z');
    const auto column = value('x');
    const auto row = value('y');
    // Three letters, each of them found, are a permutation.
    if (order.size() != 3 || !level || !column || !row)
        return std::nullopt;
    return TileNumbers{*level, *column, *row};
}

} // namespace KxOrigin
