// SPDX-License-Identifier: MIT
#include "KxPmTiles.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <tuple>

namespace KxC {

namespace {

/// Level, column, and row from the north, as the format's description counts.
struct Known
{
    int m_level;
    int m_col;
    int m_northRow;
    unsigned long long m_id;
};

int SouthRow(const Known& known)
{
    return (1 << known.m_level) - 1 - known.m_northRow;
}

// The examples of the format's description, and the first of each level as (4^level - 1) / 3.
constexpr Known kKnown[] = {{0, 0, 0, 0},
                            {1, 0, 0, 1},
                            {1, 0, 1, 2},
                            {1, 1, 1, 3},
                            {1, 1, 0, 4},
                            {2, 0, 0, 5},
                            {12, 3423, 1763, 19078479},
                            {30, 0, 0, ((1ULL << 60U) - 1) / 3}};

TEST(KxPmTiles, CountsTilesAsTheFormatDescribes)
{
    for (const Known& known : kKnown) {
        unsigned long long id = 99;
        ASSERT_TRUE(KxPmTiles::TileIdOf(known.m_level, SouthRow(known), known.m_col, id));
        EXPECT_EQ(id, known.m_id) << "level " << known.m_level;
    }
}

TEST(KxPmTiles, FindsTheTileOfAnId)
{
    for (const Known& known : kKnown) {
        int level = -1;
        int row = -1;
        int col = -1;
        ASSERT_TRUE(KxPmTiles::PlaceOf(known.m_id, level, row, col));
        EXPECT_EQ(std::tuple(level, row, col),
                  std::tuple(known.m_level, SouthRow(known), known.m_col));
    }
}

TEST(KxPmTiles, GoesFromTileToTileAlongTheCurve)
{
    int level = 0;
    int row = 0;
    int col = 0;
    int lastLevel = -1;
    int lastRow = 0;
    int lastCol = 0;
    constexpr unsigned long long kLevelsToSeven = ((1ULL << 16U) - 1) / 3;
    for (unsigned long long id = 0; id < kLevelsToSeven; ++id) {
        ASSERT_TRUE(KxPmTiles::PlaceOf(id, level, row, col));
        unsigned long long back = 0;
        ASSERT_TRUE(KxPmTiles::TileIdOf(level, row, col, back));
        ASSERT_EQ(back, id);
        if (level == lastLevel) {
            ASSERT_EQ(std::abs(row - lastRow) + std::abs(col - lastCol), 1) << "at id " << id;
        }
        lastLevel = level;
        lastRow = row;
        lastCol = col;
    }
    EXPECT_EQ(lastLevel, 7);
}

TEST(KxPmTiles, KnowsNoTilesBesideTheGrid)
{
    unsigned long long id = 0;
    EXPECT_FALSE(KxPmTiles::TileIdOf(-1, 0, 0, id));
    EXPECT_FALSE(KxPmTiles::TileIdOf(31, 0, 0, id));
    EXPECT_FALSE(KxPmTiles::TileIdOf(3, 8, 0, id));
    EXPECT_FALSE(KxPmTiles::TileIdOf(3, 0, 8, id));
    EXPECT_FALSE(KxPmTiles::TileIdOf(3, -1, 0, id));
    EXPECT_FALSE(KxPmTiles::TileIdOf(3, 0, -1, id));
}

TEST(KxPmTiles, KnowsNoIdBehindTheLastLevel)
{
    int level = 0;
    int row = 0;
    int col = 0;
    constexpr unsigned long long kEnd = ((1ULL << 62U) - 1) / 3;
    EXPECT_TRUE(KxPmTiles::PlaceOf(kEnd - 1, level, row, col));
    EXPECT_EQ(level, 30);
    EXPECT_FALSE(KxPmTiles::PlaceOf(kEnd, level, row, col));
    EXPECT_FALSE(KxPmTiles::PlaceOf(~0ULL, level, row, col));
}

} // namespace

} // namespace KxC
