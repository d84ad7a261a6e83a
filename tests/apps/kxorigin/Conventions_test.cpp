// SPDX-License-Identifier: MIT
#include "Conventions.h"

#include <gtest/gtest.h>

namespace KxOrigin {
namespace {

TEST(Conventions, RowsFromNorthAndFromSouthMirrorEachOther)
{
    EXPECT_EQ(WindowFromNorth({3, 5, 2}), (PixelWindow{3, 5 * 256, 2 * 256}));
    EXPECT_EQ(WindowFromSouth({3, 5, 2}), (PixelWindow{3, 5 * 256, 5 * 256}));
    EXPECT_EQ(WindowFromSouth({0, 0, 0}), WindowFromNorth({0, 0, 0}));
}

TEST(Conventions, TilesOfDoubleEdgeHaveThePixelsOfTheNextLevel)
{
    EXPECT_EQ(WindowOfDoubleEdge({3, 5, 2}), (PixelWindow{4, 5 * 512, 2 * 512, 512}));
    EXPECT_FALSE(WindowOfDoubleEdge({3, 8, 2}));
    EXPECT_TRUE(WindowOfDoubleEdge({21, 0, 0}));
    EXPECT_FALSE(WindowOfDoubleEdge({22, 0, 0}));
}

TEST(Conventions, TilesOfTheBaiduGridCountFromTheOrigin)
{
    // At level 18 a pixel is a metre: (12958175, 4825923.77) lies in tile (50617, 18851).
    const auto window = WindowFromOrigin({18, 50617, 18851});
    ASSERT_TRUE(window);
    const std::int64_t origin = 33554432;
    EXPECT_EQ(window->left, origin + 50617 * 256);
    EXPECT_EQ(window->top + 256, origin - 18851 * 256);
    EXPECT_EQ(WindowFromOrigin({1, -1, -1}), (PixelWindow{1, 0, 256}));
    EXPECT_EQ(WindowFromOrigin({0, 0, 0}), (PixelWindow{0, 128, -128}));
}

TEST(Conventions, TheBaiduGridEndsWithItsMap)
{
    // Level 3: tiles of 8388608 m; 180 degrees are 20037726 m, 74 degrees 12474104 m.
    for (const std::int64_t column : {-3, 2})
        EXPECT_TRUE(WindowFromOrigin({3, column, 0})) << column;
    for (const std::int64_t column : {-4, 3})
        EXPECT_FALSE(WindowFromOrigin({3, column, 0})) << column;
    for (const std::int64_t row : {-2, 1})
        EXPECT_TRUE(WindowFromOrigin({3, 0, row})) << row;
    for (const std::int64_t row : {-3, 2})
        EXPECT_FALSE(WindowFromOrigin({3, 0, row})) << row;
    const std::int64_t far = TileNumbers::kFarOutside;
    EXPECT_FALSE(WindowFromOrigin({22, far, -far}));
    EXPECT_FALSE(WindowFromOrigin({23, 0, 0}));
    EXPECT_FALSE(WindowFromOrigin({-1, 0, 0}));
}

TEST(Conventions, LastTileOfTheDeepestLevelExistsAndTheNextDoesNot)
{
    const std::int64_t last = (1 << 22) - 1;
    EXPECT_TRUE(WindowFromNorth({22, last, last}));
    EXPECT_FALSE(WindowFromNorth({22, last + 1, last}));
    EXPECT_FALSE(WindowFromNorth({22, last, last + 1}));
    EXPECT_FALSE(WindowFromSouth({22, last, last + 1}));
}

TEST(Conventions, NumbersFarOutsideHaveNoTileAndNoOverflow)
{
    constexpr std::int64_t kFar = TileNumbers::kFarOutside;
    for (const std::int64_t far : {-kFar, std::int64_t{-1}, kFar}) {
        EXPECT_FALSE(WindowFromNorth({far, 0, 0}));
        EXPECT_FALSE(WindowFromNorth({1, far, 0}));
        EXPECT_FALSE(WindowFromSouth({1, 0, far}));
        EXPECT_FALSE(WindowFromPole({2, 0, far}));
        EXPECT_FALSE(WindowWithLevelOffset({far, 0, 0}, far / 2 + 1));
    }
}

TEST(Conventions, PoleRowsFollowTheThreeQuarterRule)
{
    // row = 3/4 x 2^z - 1 - south row, for every row of the real latitudes.
    for (int level = 2; level <= 6; ++level) {
        const std::int64_t tiles = std::int64_t{1} << level;
        for (std::int64_t south = tiles / 4; south < tiles * 3 / 4; ++south) {
            const std::int64_t row = tiles * 3 / 4 - 1 - south;
            EXPECT_EQ(WindowFromPole({level, 1, row}), WindowFromSouth({level, 1, south}));
        }
        EXPECT_FALSE(WindowFromPole({level, 1, tiles / 2}));
    }
}

TEST(Conventions, PoleRowsOfLevelOneLieAcrossTheEquator)
{
    EXPECT_EQ(WindowFromPole({1, 1, 0}), (PixelWindow{1, 256, 128}));
    EXPECT_FALSE(WindowFromPole({1, 1, 1}));
    EXPECT_FALSE(WindowFromPole({0, 0, 0}));
}

TEST(Conventions, LevelOffsetIsTakenFromTheLevelInTheAddress)
{
    EXPECT_EQ(WindowWithLevelOffset({5, 3, 1}, 2), WindowFromNorth({3, 3, 1}));
    EXPECT_EQ(WindowWithLevelOffset({1, 3, 1}, -2), WindowFromNorth({3, 3, 1}));
}

TEST(Conventions, QuadKey213IsColumn3Row5OfLevel3)
{
    const auto numbers = ReadQuadKey("213");
    ASSERT_TRUE(numbers);
    EXPECT_EQ(WindowFromNorth(*numbers), WindowFromNorth({3, 3, 5}));
}

TEST(Conventions, QuadKeysThatNameNoTile)
{
    EXPECT_FALSE(ReadQuadKey("0124"));
    EXPECT_FALSE(ReadQuadKey("0-1"));
    EXPECT_FALSE(WindowFromNorth(*ReadQuadKey("")));
    EXPECT_TRUE(WindowFromNorth(*ReadQuadKey(std::string(22, '3'))));
    EXPECT_FALSE(WindowFromNorth(*ReadQuadKey(std::string(23, '0'))));
}

TEST(Conventions, SixOrdersOfAxes)
{
    const auto isTile = [](const std::optional<TileNumbers>& numbers) {
        return numbers && numbers->column == 7 && numbers->row == 8 && numbers->level == 9;
    };
    EXPECT_TRUE(isTile(ReadAxes("xyz", 7, 8, 9)));
    EXPECT_TRUE(isTile(ReadAxes("xzy", 7, 9, 8)));
    EXPECT_TRUE(isTile(ReadAxes("yxz", 8, 7, 9)));
    EXPECT_TRUE(isTile(ReadAxes("yzx", 8, 9, 7)));
    EXPECT_TRUE(isTile(ReadAxes("zxy", 9, 7, 8)));
    EXPECT_TRUE(isTile(ReadAxes("zyx", 9, 8, 7)));
    EXPECT_FALSE(ReadAxes("xxy", 1, 2, 3));
    EXPECT_FALSE(ReadAxes("xy", 1, 2, 3));
    EXPECT_FALSE(ReadAxes("", 1, 2, 3));
}

} // namespace
} // namespace KxOrigin
