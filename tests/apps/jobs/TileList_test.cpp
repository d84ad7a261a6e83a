// SPDX-License-Identifier: MIT
#include "jobs/TileList.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <numbers>
#include <random>
#include <set>
#include <tuple>
#include <vector>

namespace KxTileHost {
namespace {

using Address = std::tuple<int, int, int>; ///< level, row, column

/// West, south, east and north of a tile in degrees, by the formulas of the Web Mercator tiling.
struct TileEdges
{
    double west, south, east, north;
};

double LatitudeOfRow(int level, int row)
{
    const double y = std::numbers::pi * (1.0 - 2.0 * row / std::exp2(level));
    return std::atan(std::sinh(y)) * 180.0 / std::numbers::pi;
}

TileEdges EdgesOf(int level, int row, int col)
{
    const double width = 360.0 / std::exp2(level);
    return {col * width - 180.0,
            LatitudeOfRow(level, row + 1),
            (col + 1) * width - 180.0,
            LatitudeOfRow(level, row)};
}

bool Overlaps(const TileEdges& tile, double west, double south, double east, double north)
{
    return tile.west < east && tile.east > west && tile.south < north && tile.north > south;
}

bool Touches(const TileEdges& tile, const GeoBounds& bounds)
{
    if (bounds.m_west <= bounds.m_east)
        return Overlaps(tile, bounds.m_west, bounds.m_south, bounds.m_east, bounds.m_north);
    return Overlaps(tile, bounds.m_west, bounds.m_south, 180.0, bounds.m_north) ||
           Overlaps(tile, -180.0, bounds.m_south, bounds.m_east, bounds.m_north);
}

/// Looks at each tile of the levels.
std::set<Address> PlainWay(const GeoBounds& bounds, const LevelRange& levels)
{
    std::set<Address> tiles;
    for (int level = levels.m_first; level <= levels.m_last; ++level)
        for (int row = 0; row < 1 << level; ++row)
            for (int col = 0; col < 1 << level; ++col)
                if (Touches(EdgesOf(level, row, col), bounds))
                    tiles.insert({level, row, col});
    return tiles;
}

std::vector<Address> AllOf(const TileList& list)
{
    std::vector<Address> tiles;
    for (std::uint64_t i = 0; i < list.Count(); ++i) {
        const HostTile tile = list.At(i);
        tiles.emplace_back(tile.m_z, tile.m_y, tile.m_x);
    }
    return tiles;
}

TEST(TileList, HoldsExactlyTheTilesThatTheBoundsTouch)
{
    const std::vector<GeoBounds> bounds{{5.9, 45.8, 10.5, 47.8},
                                        {-180.0, -90.0, 180.0, 90.0},
                                        {170.0, -20.0, -170.0, 10.0},
                                        {10.0, -20.0, -10.0, 10.0},
                                        {0.1, -60.0, 0.2, 80.0},
                                        {-179.9, 84.0, 179.9, 89.0}};
    for (const GeoBounds& part : bounds) {
        const std::vector<Address> tiles = AllOf(TileList(part, {0, 6}));
        const std::set<Address> once(tiles.begin(), tiles.end());
        EXPECT_EQ(once.size(), tiles.size()) << "a tile stands twice: " << part.m_west;
        EXPECT_EQ(once, PlainWay(part, {0, 6})) << part.m_west;
    }
}

TEST(TileList, HoldsWhatAnyBoundsTouch)
{
    const unsigned int seed = std::random_device{}();
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> longitude(-180.0, 180.0);
    std::uniform_real_distribution<double> latitude(-85.0, 85.0);
    for (int i = 0; i < 60; ++i) {
        const double one = latitude(random);
        const double other = latitude(random);
        const GeoBounds bounds{
            longitude(random), std::min(one, other), longitude(random), std::max(one, other)};
        const std::vector<Address> tiles = AllOf(TileList(bounds, {0, 5}));
        EXPECT_EQ(std::set<Address>(tiles.begin(), tiles.end()), PlainWay(bounds, {0, 5}));
        EXPECT_EQ(tiles.size(), PlainWay(bounds, {0, 5}).size());
    }
}

TEST(TileList, TakesATilesOwnBoundsForThatTileAlone)
{
    for (const auto& [level, row, col] : std::vector<Address>{{0, 0, 0},
                                                              {3, 3, 4},
                                                              {12, 1450, 2137},
                                                              {18, 107000, 200000},
                                                              {30, 500000001, 700000003}}) {
        const TileEdges edges = EdgesOf(level, row, col);
        const TileList list({edges.west, edges.south, edges.east, edges.north}, {level, level});
        ASSERT_EQ(list.Count(), 1U) << level;
        EXPECT_EQ(AllOf(list).front(), Address(level, row, col));
    }
}

TEST(TileList, TakesTheTileThatHoldsAPoint)
{
    const GeoBounds point{116.3975, 39.9087, 116.3975, 39.9087};
    const auto row = static_cast<int>(
        (1.0 - std::asinh(std::tan(39.9087 * std::numbers::pi / 180.0)) / std::numbers::pi) / 2.0 *
        std::exp2(15));
    const auto col = static_cast<int>((116.3975 + 180.0) / 360.0 * std::exp2(15));
    EXPECT_EQ(AllOf(TileList(point, {15, 15})), std::vector<Address>{Address(15, row, col)});
}

TEST(TileList, CountsTheWholeWorldDownToTheDeepestLevel)
{
    const TileList list({-180.0, -90.0, 180.0, 90.0}, {0, 30});
    // 4^0 + 4^1 + ... + 4^30 = (4^31 - 1) / 3, and 4^31 = 2^62.
    EXPECT_EQ(list.Count(), ((std::uint64_t{1} << 62) - 1) / 3);
    const HostTile first = list.At(0);
    EXPECT_EQ(std::tie(first.m_z, first.m_y, first.m_x), std::make_tuple(0, 0, 0));
    const HostTile last = list.At(list.Count() - 1);
    constexpr int kLast = (1 << 30) - 1;
    EXPECT_EQ(std::tie(last.m_z, last.m_y, last.m_x), std::make_tuple(30, kLast, kLast));
    ASSERT_EQ(list.CountsByLevel().size(), 31U);
    EXPECT_EQ(list.CountsByLevel()[30].m_tiles, std::uint64_t{1} << 60);
}

TEST(TileList, HasNoTilesBeyondTheTilingsEnd)
{
    EXPECT_EQ(TileList({0.0, 86.0, 10.0, 90.0}, {0, 30}).Count(), 0U);
    EXPECT_EQ(TileList({0.0, -90.0, 10.0, -85.06}, {0, 30}).Count(), 0U);
    EXPECT_EQ(TileList({0.0, 85.05, 10.0, 90.0}, {4, 4}).Count(), 1U);
}

TEST(TileList, KeepsAGivenListAsItStands)
{
    const TileList list({{5, 3, 4}, {0, 0, 0}, {5, 3, 4}});
    EXPECT_EQ(AllOf(list), (std::vector<Address>{{4, 3, 5}, {0, 0, 0}, {4, 3, 5}}));
    ASSERT_EQ(list.CountsByLevel().size(), 2U);
    EXPECT_EQ(list.CountsByLevel()[1].m_level, 4);
    EXPECT_EQ(list.CountsByLevel()[1].m_tiles, 2U);
    EXPECT_EQ(TileList(std::vector<HostTile>{}).Count(), 0U);
}

} // namespace
} // namespace KxTileHost
