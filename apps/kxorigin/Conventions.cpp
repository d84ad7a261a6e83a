// SPDX-License-Identifier: MIT
#include "Conventions.h"

#include <algorithm>
#include <cmath>

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

/// Whether any of a column or row of the Baidu grid lies within `half` metres of the origin.
bool ReachesMap(std::int64_t index, double tileMetres, double half)
{
    const auto start = static_cast<double>(index) * tileMetres;
    return start < half && start + tileMetres > -half;
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

std::optional<PixelWindow> WindowOfDoubleEdge(const TileNumbers& numbers)
{
    auto window = WindowFromNorth(numbers);
    if (!window || window->level == kMaxLevel)
        return std::nullopt;
    return PixelWindow{window->level + 1, window->left * 2, window->top * 2, kTileEdge * 2};
}

std::optional<PixelWindow> WindowFromOrigin(const TileNumbers& numbers)
{
    if (!HasLevel(numbers.level))
        return std::nullopt;
    const int level = static_cast<int>(numbers.level);
    const double tileMetres = BaiduGrid::kSideMetres / std::exp2(level);
    if (!ReachesMap(numbers.column, tileMetres, BaiduGrid::kHalfWidth) ||
        !ReachesMap(numbers.row, tileMetres, BaiduGrid::kHalfHeight))
        return std::nullopt;
    const std::int64_t origin = SidePixels(level) / 2;
    return PixelWindow{
        level, origin + numbers.column * kTileEdge, origin - (numbers.row + 1) * kTileEdge};
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
