// SPDX-License-Identifier: MIT
// What is written is read by a program that knows nothing of this library.
#include "ArchiveFiles.h"
#include "KxTileArchiveWriter.h"
#include "support/TempFolder.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <random>
#include <vector>

namespace KxC {

namespace {

using namespace Test;
using testing::HasSubstr;

constexpr auto kPmTiles = KxTileArchiveFormat_PMTiles;

struct Place
{
    int m_level;
    int m_row;
    int m_col;
};

std::vector<Place> AllPlaces(int maxLevel)
{
    std::vector<Place> places;
    for (int level = 0; level <= maxLevel; ++level)
        for (int row = 0; row < 1 << level; ++row)
            for (int col = 0; col < 1 << level; ++col)
                places.push_back({level, row, col});
    return places;
}

std::string NorthName(const Place& place)
{
    return std::to_string(place.m_level) + "-" + std::to_string(place.m_col) + "-" +
           std::to_string((1 << place.m_level) - 1 - place.m_row);
}

TEST(KxTileArchiveWriter, BringsTilesIntoTheOrderOfTheArchive)
{
    const TempFolder folder;
    const TempFolder tiles;
    const std::string path = folder.File("tiles.pmtiles");
    std::vector<Place> places = AllPlaces(5);
    std::shuffle(places.begin(), places.end(), std::mt19937(4711));
    // Every third tile is one of five that come again and again.
    const auto bytesOf = [](int i) { return FakePng(i % 3 == 0 ? i % 5 : 1000 + i); };
    KxTileArchiveWriter writer;
    ASSERT_TRUE(writer.Create(path.c_str(), kPmTiles, {"tiles", "all of them", "nobody"}));
    for (std::size_t i = 0; i < places.size(); ++i)
        ASSERT_TRUE(AddTile(writer,
                            places[i].m_level,
                            places[i].m_row,
                            places[i].m_col,
                            bytesOf(static_cast<int>(i))));
    ASSERT_TRUE(writer.Finish()) << writer.GetError().Cstr();
    const std::string answer = Check(path, folder.Path());
    EXPECT_THAT(answer, HasSubstr("\"addressed\": 1365"));
    EXPECT_THAT(answer, HasSubstr("\"contents\": 915")); // 910 alone, five often
    EXPECT_THAT(answer, HasSubstr("\"name\": \"tiles\""));
    EXPECT_THAT(answer, HasSubstr("\"attribution\": \"nobody\""));
    EXPECT_THAT(answer, HasSubstr("\"type\": 2"));
    ASSERT_TRUE(Extract(path, tiles.Path()));
    EXPECT_EQ(FilesIn(tiles.Path()).size(), places.size() + 1); // and its header
    for (std::size_t i = 0; i < places.size(); ++i)
        EXPECT_EQ(ReadFile(tiles.File(NorthName(places[i]))), bytesOf(static_cast<int>(i)));
}

TEST(KxTileArchiveWriter, StoresASeaAsOneRun)
{
    const TempFolder folder;
    const std::string path = folder.File("tiles.pmtiles");
    KxTileArchiveWriter writer;
    ASSERT_TRUE(writer.Create(path.c_str(), kPmTiles, {}));
    for (const Place& place : AllPlaces(6))
        ASSERT_TRUE(AddTile(writer, place.m_level, place.m_row, place.m_col, FakePng(7)));
    ASSERT_TRUE(writer.Finish());
    const std::string answer = Check(path, folder.Path());
    EXPECT_THAT(answer, HasSubstr("\"addressed\": 5461"));
    EXPECT_THAT(answer, HasSubstr("\"entries\": 1,"));
    EXPECT_THAT(answer, HasSubstr("\"contents\": 1,"));
    EXPECT_EQ(writer.GetReport().m_nTiles, 5461U);
    EXPECT_EQ(writer.GetReport().m_nPictures, 1U);
}

TEST(KxTileArchiveWriter, PutsManyTilesIntoLeaves)
{
    const TempFolder folder;
    const std::string path = folder.File("tiles.pmtiles");
    KxTileArchiveWriter writer;
    ASSERT_TRUE(writer.Create(path.c_str(), kPmTiles, {}));
    // Lengths without rule, so that the directories do not pack too well.
    std::mt19937 random(4711);
    constexpr int kTiles = 100000;
    for (int i = 0; i < kTiles; ++i)
        ASSERT_TRUE(
            AddTile(writer, 9, i / 512, i % 512, FakePng(i) + std::string(random() % 200, 'x')));
    ASSERT_TRUE(writer.Finish()) << writer.GetError().Cstr();
    const std::string answer = Check(path, folder.Path());
    EXPECT_THAT(answer, HasSubstr("\"entries\": 100000"));
    EXPECT_THAT(answer, HasSubstr("\"depth\": 2"));
}

TEST(KxTileArchiveWriter, KeepsTheLastOfTilesOfOnePlace)
{
    const TempFolder folder;
    const TempFolder tiles;
    const std::string path = folder.File("tiles.pmtiles");
    KxTileArchiveWriter writer;
    ASSERT_TRUE(writer.Create(path.c_str(), kPmTiles, {}));
    for (const int number : {1, 2, 3})
        ASSERT_TRUE(AddTile(writer, 4, 5, 6, FakePng(number)));
    ASSERT_TRUE(writer.Finish());
    EXPECT_THAT(Check(path, folder.Path()), HasSubstr("\"contents\": 1,"));
    ASSERT_TRUE(Extract(path, tiles.Path()));
    EXPECT_EQ(ReadFile(tiles.File("4-6-10")), FakePng(3));
}

TEST(KxTileArchiveWriter, EscapesTheTextsOfPmTiles)
{
    const TempFolder folder;
    const std::string path = folder.File("tiles.pmtiles");
    KxTileArchiveWriter writer;
    ASSERT_TRUE(
        writer.Create(path.c_str(),
                      kPmTiles,
                      {"a \"quote\" \\ and\na line", "K\xC3\xB6ln \xE2\x82\xAC", "\xFF\xC0\x80!"}));
    ASSERT_TRUE(AddTile(writer, 0, 0, 0, FakePng(1)));
    ASSERT_TRUE(writer.Finish());
    // The other program reads the text and writes it with escapes of its own.
    const std::string answer = Check(path, folder.Path());
    EXPECT_THAT(answer, HasSubstr(R"("name": "a \"quote\" \\ and\na line")"));
    EXPECT_THAT(answer, HasSubstr(R"("description": "K\u00f6ln \u20ac")"));
    EXPECT_THAT(answer, HasSubstr(R"("attribution": "???!")"));
}

TEST(KxTileArchiveWriter, MakesNoPmTilesOfGifs)
{
    const TempFolder folder;
    KxTileArchiveWriter writer;
    ASSERT_TRUE(writer.Create(folder.File("tiles.pmtiles").c_str(), kPmTiles, {}));
    // At once: nobody wants to learn it when all tiles are fetched.
    EXPECT_FALSE(AddTile(writer, 0, 0, 0, "GIF89a and so on"));
    EXPECT_THAT(writer.GetError().Cstr(), HasSubstr("PNG, JPEG or WebP"));
    EXPECT_THAT(writer.GetError().Cstr(), HasSubstr("'gif'"));
    EXPECT_FALSE(AddTile(writer, 1, 0, 0, FakePng(1)));
    EXPECT_FALSE(writer.Finish());
    EXPECT_TRUE(FilesIn(folder.Path()).empty());
}

TEST(KxTileArchiveWriter, TakesAGifAmongTilesThatPmTilesMayHold)
{
    const TempFolder folder;
    const std::string path = folder.File("tiles.pmtiles");
    KxTileArchiveWriter writer;
    ASSERT_TRUE(writer.Create(path.c_str(), kPmTiles, {}));
    ASSERT_TRUE(AddTile(writer, 1, 0, 0, FakePng(1)));
    for (int level = 2; level < 5; ++level)
        ASSERT_TRUE(AddTile(writer, level, 0, 0, "GIF89a and so on"));
    for (int col = 0; col < 2; ++col)
        ASSERT_TRUE(AddTile(writer, 5, 0, col, "\xff\xd8\xff one JPEG"));
    ASSERT_TRUE(writer.Finish()) << writer.GetError().Cstr();
    EXPECT_THAT(Check(path, folder.Path()), HasSubstr("\"type\": 3")); // JPEG
}

} // namespace

} // namespace KxC
