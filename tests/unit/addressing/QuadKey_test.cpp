// SPDX-License-Identifier: MIT
#include "KxTileFetcher.h"

#include <gtest/gtest.h>

#include <string>

namespace KxC {
namespace {

struct Tile
{
    int m_y;
    int m_x;
    int m_z;
};

Tile FromKey(const char* key)
{
    Tile tile{-1, -1, -1};
    KxTileFetcher::BingMapQuadKeyToTile(key, tile.m_y, tile.m_x, tile.m_z);
    return tile;
}

TEST(BingMapTileToQuadKey, InterleavesTheBits)
{
    // The vendor's own documented example: tile (3, 5) of level 3.
    EXPECT_STREQ(KxTileFetcher::BingMapTileToQuadKey(5, 3, 3).Cstr(), "213");
    EXPECT_STREQ(KxTileFetcher::BingMapTileToQuadKey(0, 0, 4).Cstr(), "0000");
    EXPECT_STREQ(KxTileFetcher::BingMapTileToQuadKey(1, 0, 1).Cstr(), "2");
}

TEST(BingMapTileToQuadKey, IsEmptyAtLevelZeroAndBelow)
{
    EXPECT_EQ(KxTileFetcher::BingMapTileToQuadKey(0, 0, 0).GetLength(), 0);
    EXPECT_EQ(KxTileFetcher::BingMapTileToQuadKey(5, 3, -1).GetLength(), 0);
}

TEST(BingMapTileToQuadKey, HasAsManyDigitsAsLevels)
{
    EXPECT_EQ(KxTileFetcher::BingMapTileToQuadKey(-1, -1, 40).GetLength(), 40);
    EXPECT_EQ(std::string(KxTileFetcher::BingMapTileToQuadKey(-1, -1, 40).Cstr()),
              std::string(8, '0') + std::string(32, '3'));
}

TEST(BingMapTileToQuadKey, IsEmptyWhereTheKeyWouldTakeTheMemoryOfTheProcess)
{
    EXPECT_EQ(KxTileFetcher::BingMapTileToQuadKey(0, 0, 1 << 20).GetLength(), 1 << 20);
    EXPECT_EQ(KxTileFetcher::BingMapTileToQuadKey(0, 0, (1 << 20) + 1).GetLength(), 0);
    EXPECT_EQ(KxTileFetcher::BingMapTileToQuadKey(0, 0, 2147483647).GetLength(), 0);
}

TEST(BingMapQuadKeyToTile, ReadsTheBitsBack)
{
    const Tile tile = FromKey("213");
    EXPECT_EQ(tile.m_y, 5);
    EXPECT_EQ(tile.m_x, 3);
    EXPECT_EQ(tile.m_z, 3);
}

TEST(BingMapQuadKeyToTile, ReadsTheEmptyKeyAsTheWorld)
{
    const Tile tile = FromKey("");
    EXPECT_EQ(tile.m_y, 0);
    EXPECT_EQ(tile.m_x, 0);
    EXPECT_EQ(tile.m_z, 0);
}

TEST(BingMapQuadKeyToTile, PassesOverOtherCharacters)
{
    const Tile tile = FromKey("2x3");
    EXPECT_EQ(tile.m_y, 5);
    EXPECT_EQ(tile.m_x, 1);
    EXPECT_EQ(tile.m_z, 3);
}

TEST(BingMapQuadKeyToTile, SurvivesKeysLongerThanItsNumbers)
{
    const Tile tile = FromKey(std::string(100, '1').c_str());
    EXPECT_EQ(tile.m_x, -1) << "32 bits set";
    EXPECT_EQ(tile.m_y, 0);
    EXPECT_EQ(tile.m_z, 100);
}

TEST(BingMapQuadKey, RoundTripsEveryTileOfTheFirstLevels)
{
    for (int z = 1; z <= 6; ++z)
        for (int y = 0; y < 1 << z; ++y)
            for (int x = 0; x < 1 << z; ++x) {
                const Tile tile = FromKey(KxTileFetcher::BingMapTileToQuadKey(y, x, z).Cstr());
                ASSERT_TRUE(tile.m_y == y && tile.m_x == x && tile.m_z == z);
            }
}

TEST(CalcTSZLevel, IsTheFirstLevelNotCoarserThanTheResolution)
{
    constexpr double kLevel0 = 156543.03392804097;
    EXPECT_EQ(KxTileFetcher::CalcTSZLevel(kLevel0), 0);
    EXPECT_EQ(KxTileFetcher::CalcTSZLevel(kLevel0 / 2), 1);
    EXPECT_EQ(KxTileFetcher::CalcTSZLevel(kLevel0 / 2.0001), 2);
    EXPECT_EQ(KxTileFetcher::CalcTSZLevel(kLevel0 * 3), -1);
    EXPECT_EQ(KxTileFetcher::CalcTSZLevel(0.6), 18);
}

TEST(CalcTSZLevel, SurvivesResolutionsThatAreNone)
{
    const int none = -2147483647 - 1;
    EXPECT_EQ(KxTileFetcher::CalcTSZLevel(0.0), none);
    EXPECT_EQ(KxTileFetcher::CalcTSZLevel(-1.0), none);
    EXPECT_EQ(KxTileFetcher::CalcTSZLevel(__builtin_nan("")), none);
}

} // namespace
} // namespace KxC
