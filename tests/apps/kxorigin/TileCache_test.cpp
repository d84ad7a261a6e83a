// SPDX-License-Identifier: MIT
#include "TileCache.h"

#include <gtest/gtest.h>

namespace KxOrigin {
namespace {

TileKey Key(int column)
{
    return {PictureKind::Marble, GridKind::WebMercator, {5, column, 0}, Format::Png};
}

std::shared_ptr<const Bytes> Tile(std::size_t size)
{
    return std::make_shared<const Bytes>(size);
}

TEST(TileCache, GivesBackWhatItKept)
{
    TileCache cache(100);
    const auto tile = Tile(10);
    EXPECT_EQ(cache.Find(Key(1)), nullptr);
    cache.Keep(Key(1), tile);
    EXPECT_EQ(cache.Find(Key(1)), tile);
    EXPECT_EQ(cache.Find(Key(2)), nullptr);
}

TEST(TileCache, TellsTilesApartByEveryPartOfTheKey)
{
    TileCache cache(100);
    cache.Keep(Key(1), Tile(10));
    TileKey key = Key(1);
    key.picture = PictureKind::Graticule;
    EXPECT_EQ(cache.Find(key), nullptr);
    key = Key(1);
    key.grid = GridKind::Geographic;
    EXPECT_EQ(cache.Find(key), nullptr);
    key = Key(1);
    key.format = Format::Jpeg;
    EXPECT_EQ(cache.Find(key), nullptr);
    key = Key(1);
    key.window.level = 6;
    EXPECT_EQ(cache.Find(key), nullptr);
    key = Key(1);
    key.window.edge = 512;
    EXPECT_EQ(cache.Find(key), nullptr);
}

TEST(TileCache, DropsTheTileUnusedForLongest)
{
    TileCache cache(30);
    for (const int column : {1, 2, 3})
        cache.Keep(Key(column), Tile(10));
    EXPECT_NE(cache.Find(Key(1)), nullptr);
    cache.Keep(Key(4), Tile(10));
    EXPECT_NE(cache.Find(Key(1)), nullptr);
    EXPECT_EQ(cache.Find(Key(2)), nullptr);
    EXPECT_NE(cache.Find(Key(3)), nullptr);
}

TEST(TileCache, LeavesOutATileLargerThanItsBudget)
{
    TileCache cache(30);
    cache.Keep(Key(1), Tile(10));
    cache.Keep(Key(2), Tile(31));
    EXPECT_NE(cache.Find(Key(1)), nullptr);
    EXPECT_EQ(cache.Find(Key(2)), nullptr);
}

} // namespace
} // namespace KxOrigin
