// SPDX-License-Identifier: MIT
#include "TilePacks.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <cmath>
#include <filesystem>
#include <memory>
#include <numbers>

namespace KxC {

namespace {

using namespace Test;

constexpr double kMaxLatitude = 85.05112877980659;
constexpr double kNear = 1e-9;

/// Latitude of the north edge of a row counted from the south, degrees.
double NorthEdge(int level, int row)
{
    const double y = (2.0 * (row + 1) / std::exp2(level) - 1) * std::numbers::pi;
    return std::atan(std::sinh(y)) * 180 / std::numbers::pi;
}

TEST(MbTiles, HandsTilesThroughAsTheyAreStored)
{
    const TempFolder folder;
    MbTilesFile file(folder.File("a b#c?d%20.mbtiles"));
    file.CreateTables();
    const std::string south = PngOf(1, 2, 3);
    const std::string north = PngOf(4, 5, 6);
    file.AddTile(2, 0, 3, south);
    file.AddTile(5, 31, 0, north);
    const auto reader = OpenPack(file.Close());
    ASSERT_NE(reader, nullptr);
    EXPECT_EQ(reader->GetGeoReferenceType(), KxEGeoReferenceType_WebMercatorTiles);
    EXPECT_STREQ(reader->GetDataPath().Cstr(), folder.File("a b#c?d%20.mbtiles").c_str());
    const Stored stored = ReadStored(*reader, 2, 0, 3);
    EXPECT_EQ(stored.m_status, 5);
    EXPECT_EQ(stored.m_bytes, south);
    EXPECT_EQ(ReadStored(*reader, 5, 31, 0).m_bytes, north);
}

TEST(MbTiles, AnswersFiveAndNoBytesWhereThereIsNoTile)
{
    const TempFolder folder;
    MbTilesFile file(folder.File("pack.mbtiles"));
    file.CreateTables();
    file.AddTile(2, 1, 1, PngOf(1, 2, 3));
    file.AddTile(2, 2, 2, ""); // empty counts as none
    file.Execute("INSERT INTO tiles VALUES(2, 3, 3, NULL)");
    const auto reader = OpenPack(file.Close());
    ASSERT_NE(reader, nullptr);
    constexpr int kPlaces[][3] = {{2, 0, 0},
                                  {2, 2, 2},
                                  {2, 3, 3},
                                  {3, 1, 1},
                                  {-1, 0, 0},
                                  {31, 0, 0},
                                  {2, -1, 0},
                                  {2, 4, 0},
                                  {2, 0, 2147483647}};
    for (const auto& [level, row, col] : kPlaces) {
        const Stored stored = ReadStored(*reader, level, row, col);
        EXPECT_EQ(stored.m_status, 5) << level << "/" << row << "/" << col;
        EXPECT_TRUE(stored.m_isNull) << level << "/" << row << "/" << col;
    }
}

TEST(MbTiles, BelievesTheTilesRatherThanTheMetadataAboutLevels)
{
    const TempFolder folder;
    MbTilesFile file(folder.File("pack.mbtiles"));
    file.CreateTables();
    file.AddMetadata("minzoom", "0");
    file.AddMetadata("maxzoom", "22");
    file.AddTile(3, 1, 1, PngOf(1, 2, 3));
    file.AddTile(6, 1, 1, PngOf(1, 2, 3));
    file.AddTile(77, 1, 1, PngOf(1, 2, 3)); // on no level at all
    const auto reader = OpenPack(file.Close());
    ASSERT_NE(reader, nullptr);
    EXPECT_EQ(reader->GetMinLevel(), 3);
    EXPECT_EQ(reader->GetMaxLevel(), 6);
}

TEST(MbTiles, TakesTheBoundsFromTheMetadata)
{
    const TempFolder folder;
    MbTilesFile file(folder.File("pack.mbtiles"));
    file.CreateTables();
    file.AddMetadata("bounds", "-12.5, -89.5,33,1e1");
    file.AddTile(0, 0, 0, PngOf(1, 2, 3));
    const auto reader = OpenPack(file.Close());
    ASSERT_NE(reader, nullptr);
    EXPECT_EQ(reader->GetLatLonBounds().m_dLeft, -12.5);
    EXPECT_EQ(reader->GetLatLonBounds().m_dRight, 33);
    EXPECT_EQ(reader->GetLatLonBounds().m_dTop, 10);
    EXPECT_NEAR(reader->GetLatLonBounds().m_dBottom, -kMaxLatitude, kNear);
}

TEST(MbTiles, TakesTheBoundsFromTheTilesWhereTheMetadataHasNoGoodOnes)
{
    const TempFolder folder;
    int number = 0;
    for (const char* text :
         {"", "1,2,3", "10,0,-10,5", "nan,nan,nan,nan", "1,2,3,4,5", "a,b,c,d"}) {
        MbTilesFile file(folder.File(std::to_string(number++) + ".mbtiles"));
        file.CreateTables();
        file.AddMetadata("bounds", text);
        file.AddTile(1, 0, 0, PngOf(1, 2, 3));
        file.AddTile(4, 9, 2, PngOf(1, 2, 3));
        file.AddTile(4, 10, 5, PngOf(1, 2, 3));
        const auto reader = OpenPack(file.Close());
        ASSERT_NE(reader, nullptr);
        // Columns 2 to 5 of 16, rows 9 and 10.
        EXPECT_NEAR(reader->GetLatLonBounds().m_dLeft, -180 + 2 * 22.5, kNear) << text;
        EXPECT_NEAR(reader->GetLatLonBounds().m_dRight, -180 + 6 * 22.5, kNear) << text;
        EXPECT_NEAR(reader->GetLatLonBounds().m_dBottom, NorthEdge(4, 8), kNear) << text;
        EXPECT_NEAR(reader->GetLatLonBounds().m_dTop, NorthEdge(4, 10), kNear) << text;
    }
}

TEST(MbTiles, ReadsTilesThatAreAView)
{
    const TempFolder folder;
    MbTilesFile file(folder.File("pack.mbtiles"));
    file.Execute("CREATE TABLE images(tile_id TEXT PRIMARY KEY, tile_data BLOB);"
                 "CREATE TABLE map(zoom_level INTEGER, tile_column INTEGER, tile_row INTEGER,"
                 " tile_id TEXT);"
                 "CREATE VIEW tiles AS SELECT map.zoom_level AS zoom_level, map.tile_column AS"
                 " tile_column, map.tile_row AS tile_row, images.tile_data AS tile_data"
                 " FROM map JOIN images ON images.tile_id = map.tile_id;"
                 "INSERT INTO images VALUES('sea', x'89504E470D0A1A0A01');"
                 "INSERT INTO map VALUES(4, 1, 2, 'sea'), (4, 1, 3, 'sea'), (7, 0, 0, 'none');");
    const auto reader = OpenPack(file.Close());
    ASSERT_NE(reader, nullptr);
    EXPECT_EQ(reader->GetMinLevel(), 4);
    EXPECT_EQ(reader->GetMaxLevel(), 4);
    EXPECT_EQ(ReadStored(*reader, 4, 3, 1).m_bytes, "\x89PNG\r\n\x1a\n\x01");
    EXPECT_TRUE(ReadStored(*reader, 7, 0, 0).m_isNull);
}

TEST(MbTiles, MakesNoFilesBesideADatabaseWithALog)
{
    const TempFolder folder;
    MbTilesFile file(folder.File("pack.mbtiles"));
    file.Execute("PRAGMA journal_mode = WAL");
    file.CreateTables();
    file.AddTile(0, 0, 0, PngOf(1, 2, 3));
    const std::string path = file.Close();
    const std::string before = ReadFile(path);
    {
        const auto reader = OpenPack(path);
        ASSERT_NE(reader, nullptr);
        EXPECT_EQ(ReadStored(*reader, 0, 0, 0).m_bytes, PngOf(1, 2, 3));
        EXPECT_FALSE(std::filesystem::exists(path + "-shm"));
        EXPECT_FALSE(std::filesystem::exists(path + "-wal"));
    }
    EXPECT_EQ(ReadFile(path), before);
}

TEST(MbTiles, SeesWhatIsStillInTheLogOfADatabaseInUse)
{
    const TempFolder folder;
    MbTilesFile file(folder.File("pack.mbtiles"));
    file.Execute("PRAGMA journal_mode = WAL; PRAGMA wal_autocheckpoint = 0");
    file.CreateTables();
    file.AddTile(0, 0, 0, PngOf(1, 2, 3));
    const auto reader = OpenPack(folder.File("pack.mbtiles"));
    ASSERT_NE(reader, nullptr);
    EXPECT_EQ(ReadStored(*reader, 0, 0, 0).m_bytes, PngOf(1, 2, 3));
}

} // namespace

} // namespace KxC
