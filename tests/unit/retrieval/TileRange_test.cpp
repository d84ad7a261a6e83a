// SPDX-License-Identifier: MIT
#include "TileRange.h"

#include <gtest/gtest.h>

#include <climits>
#include <limits>
#include <utility>
#include <vector>

namespace KxC {
namespace {

using Sample = std::pair<double, double>;

/// A grid of tiles of one unit.
GridPosition Unit(double x, double y)
{
    return {x, y};
}

TEST(FindTileRange, SamplesFourEdgesInEighths)
{
    std::vector<Sample> samples;
    FindTileRange({0, 8, 8, 16}, 1, 1, [&](double x, double y) {
        samples.emplace_back(x, y);
        return GridPosition{x, y};
    });
    std::vector<Sample> expected;
    for (const double y : {8.0, 16.0})
        for (int i = 0; i < 8; ++i)
            expected.emplace_back(i, y);
    for (const double x : {0.0, 8.0})
        for (int i = 0; i < 8; ++i)
            expected.emplace_back(x, 8 + i);
    EXPECT_EQ(samples, expected);
}

TEST(FindTileRange, CoversTheEdges)
{
    const TileRange range = FindTileRange({2.5, 4.5, 6.5, 8.5}, 0.5, 0.5, Unit);
    EXPECT_EQ(range.m_minCol, 2);
    EXPECT_EQ(range.m_maxCol, 6);
    EXPECT_EQ(range.m_minRow, 4);
    EXPECT_EQ(range.m_maxRow, 8);
}

TEST(FindTileRange, CountsATileOutsideOnTheSouthEdgeAsTheFirst)
{
    // All of it lies west of the grid, within one tile: truncated, the south edge is column 0.
    const TileRange west = FindTileRange({-0.875, 1, -0.125, 1.75}, 0.09375, 0.09375, Unit);
    EXPECT_EQ(west.m_minCol, 0);
    EXPECT_EQ(west.m_maxCol, 0);
    const TileRange south = FindTileRange({3, -0.875, 3.75, -0.125}, 0.09375, 0.09375, Unit);
    EXPECT_EQ(south.m_minRow, 0);
    EXPECT_EQ(south.m_maxRow, 0);
    // The other edges are floored: the north edge of this one does not count for rows.
    const TileRange further = FindTileRange({3, -1.5, 3.75, -0.75}, 0.09375, 0.09375, Unit);
    EXPECT_EQ(further.m_maxRow, -1);
}

TEST(FindTileRange, IgnoresNegativeIndices)
{
    const TileRange partly = FindTileRange({-4, -4, 4, 4}, 1, 1, Unit);
    EXPECT_EQ(partly.m_minCol, 0);
    EXPECT_EQ(partly.m_maxCol, 4);
    const TileRange outside = FindTileRange({-9, -9, -5, -5}, 0.5, 0.5, Unit);
    EXPECT_EQ(outside.m_minCol, -1);
    EXPECT_EQ(outside.m_maxRow, -1);
}

TEST(FindTileRange, EndsWhereTheStepDoesNotMoveThePosition)
{
    const TileRange range = FindTileRange({1e300, 0, 1e301, 1}, 1, 0.125, Unit);
    EXPECT_EQ(range.m_maxCol, -1) << "nor does an index fit";
    const double infinity = std::numeric_limits<double>::infinity();
    FindTileRange({-infinity, -infinity, infinity, infinity}, infinity, infinity, Unit);
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(FindTileRange({0, 0, 1, 1}, nan, nan, Unit).m_maxCol, 1);
}

TEST(TileRange, IsCutAtTheLastRowAndColumn)
{
    TileRange range{2, 3, 9, 4};
    EXPECT_TRUE(range.ClampTo(4));
    EXPECT_EQ(range.m_maxRow, 3);
    EXPECT_EQ(range.m_maxCol, 3);
    for (TileRange outside : {TileRange{4, 0, 9, 0}, {0, 4, 0, 9}, {-1, 0, -1, 0}, {0, -1, 0, -1}})
        EXPECT_FALSE(outside.ClampTo(4));
}

TEST(TileIndex, TakesWhatDoesNotFitForOutside)
{
    EXPECT_EQ(TileIndex(-0.5, IndexRule::Truncate), 0);
    EXPECT_EQ(TileIndex(-0.5, IndexRule::Floor), -1);
    for (const double value : {1e300, -1e300, std::numeric_limits<double>::quiet_NaN()})
        EXPECT_EQ(TileIndex(value, IndexRule::Floor), INT_MIN);
}

} // namespace
} // namespace KxC
