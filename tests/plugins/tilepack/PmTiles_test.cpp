// SPDX-License-Identifier: MIT
#include "KxPmTiles.h"
#include "TilePacks.h"
#include "support/ArchiveBytes.h"
#include "support/TempFolder.h"
#include "support/TestData.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>

namespace KxC {

namespace {

using namespace Test;
using namespace ArchiveBytes;

std::unique_ptr<KxRasterDataAccessor> Open(const TempFolder& folder, const Archive& archive)
{
    WriteFile(folder.File("pack.pmtiles"), archive.Bytes());
    return OpenPack(folder.File("pack.pmtiles"));
}

TEST(PmTiles, HandsTilesThroughAsTheyAreStored)
{
    // Ids 1 to 4 are the tiles of level 1: north-west, south-west, south-east, north-east.
    Archive archive;
    archive.m_tiles = "seaNWsomethingSE";
    archive.m_root = Directory({{0, 0, 3}, {1, 3, 2}, {2, 0, 3}, {3, 14, 2}});
    const TempFolder folder;
    const auto reader = Open(folder, archive);
    ASSERT_NE(reader, nullptr);
    EXPECT_EQ(reader->GetGeoReferenceType(), KxEGeoReferenceType_WebMercatorTiles);
    EXPECT_EQ(reader->GetMinLevel(), 0);
    EXPECT_EQ(reader->GetMaxLevel(), 1);
    EXPECT_EQ(ReadStored(*reader, 0, 0, 0).m_bytes, "sea");
    EXPECT_EQ(ReadStored(*reader, 1, 1, 0).m_bytes, "NW");
    EXPECT_EQ(ReadStored(*reader, 1, 0, 0).m_bytes, "sea");
    EXPECT_EQ(ReadStored(*reader, 1, 0, 1).m_bytes, "SE");
    for (const int level : {-1, 1, 2, 30, 31}) {
        const Stored none = ReadStored(*reader, level, 1, 1);
        EXPECT_EQ(none.m_status, 5) << level;
        EXPECT_TRUE(none.m_isNull) << level;
    }
}

TEST(PmTiles, ReadsRunsOfTheSameTile)
{
    Archive archive;
    archive.m_tiles = "sea";
    archive.m_root = Directory({{2, 0, 3, 3}});
    const TempFolder folder;
    const auto reader = Open(folder, archive);
    ASSERT_NE(reader, nullptr);
    EXPECT_EQ(reader->GetMinLevel(), 1);
    EXPECT_EQ(reader->GetMaxLevel(), 1);
    EXPECT_TRUE(ReadStored(*reader, 1, 1, 0).m_isNull);
    EXPECT_EQ(ReadStored(*reader, 1, 0, 0).m_bytes, "sea");
    EXPECT_EQ(ReadStored(*reader, 1, 0, 1).m_bytes, "sea");
    EXPECT_EQ(ReadStored(*reader, 1, 1, 1).m_bytes, "sea");
}

TEST(PmTiles, ReadsLeavesOfLeaves)
{
    Archive archive;
    archive.m_tiles = "ABC";
    const std::string deep = Directory({{5, 2, 1}});
    const std::string leaf = Directory({{1, 1, 1}, {5, 0, deep.size(), 0}});
    archive.m_leaves = deep + leaf;
    archive.m_root = Directory({{0, 0, 1}, {1, deep.size(), leaf.size(), 0}});
    const TempFolder folder;
    const auto reader = Open(folder, archive);
    ASSERT_NE(reader, nullptr);
    EXPECT_EQ(reader->GetMinLevel(), 0);
    EXPECT_EQ(reader->GetMaxLevel(), 2);
    EXPECT_EQ(ReadStored(*reader, 0, 0, 0).m_bytes, "A");
    EXPECT_EQ(ReadStored(*reader, 1, 1, 0).m_bytes, "B");
    EXPECT_EQ(ReadStored(*reader, 2, 3, 0).m_bytes, "C");
    EXPECT_TRUE(ReadStored(*reader, 2, 0, 0).m_isNull);
}

TEST(PmTiles, TakesTheBoundsFromTheHeaderWhereItHasGoodOnes)
{
    Archive archive;
    archive.m_tiles = "A";
    archive.m_root = Directory({{0, 0, 1}});
    archive.m_bounds[0] = -100000000;
    archive.m_bounds[1] = -500000000;
    archive.m_bounds[2] = 200000000;
    archive.m_bounds[3] = 900000000;
    const TempFolder folder;
    const auto reader = Open(folder, archive);
    ASSERT_NE(reader, nullptr);
    EXPECT_DOUBLE_EQ(reader->GetLatLonBounds().m_dLeft, -10);
    EXPECT_DOUBLE_EQ(reader->GetLatLonBounds().m_dBottom, -50);
    EXPECT_DOUBLE_EQ(reader->GetLatLonBounds().m_dRight, 20);
    EXPECT_NEAR(reader->GetLatLonBounds().m_dTop, 85.0511287798066, 1e-9);
}

TEST(PmTiles, TakesTheBoundsFromTheTilesWhereTheHeaderHasNone)
{
    Archive archive;
    archive.m_tiles = "A";
    archive.m_root = Directory({{0, 0, 1}, {3, 0, 1}, {4, 0, 1}}); // the east of level 1
    const TempFolder folder;
    const auto reader = Open(folder, archive);
    ASSERT_NE(reader, nullptr);
    EXPECT_NEAR(reader->GetLatLonBounds().m_dLeft, 0, 1e-9);
    EXPECT_NEAR(reader->GetLatLonBounds().m_dRight, 180, 1e-9);
    EXPECT_NEAR(reader->GetLatLonBounds().m_dBottom, -85.0511287798066, 1e-9);
}

/// Tiles as another program reads them.
void Extract(const std::string& path, const TempFolder& folder)
{
    const std::string command = std::string(KX_PYTHON) + " -B '" + KX_PMTILES_READER + "' '" +
                                path + "' '" + folder.Path().string() + "'";
    // NOLINTNEXTLINE(concurrency-mt-unsafe): no other thread is there
    ASSERT_EQ(std::system(command.c_str()), 0) << command;
}

TEST(PmTiles, ReadsARealArchiveAsAnotherReaderDoes)
{
    const auto path = TestDataFile("stamen_toner_z3.pmtiles");
    if (!path)
        GTEST_SKIP() << kNoTestData;
    const TempFolder folder;
    Extract(*path, folder);
    const auto reader = OpenPack(*path);
    ASSERT_NE(reader, nullptr);
    EXPECT_EQ(reader->GetMinLevel(), 0);
    EXPECT_EQ(reader->GetMaxLevel(), 3);
    int count = 0;
    for (int level = 0; level <= 3; ++level)
        for (int x = 0; x < 1 << level; ++x)
            for (int y = 0; y < 1 << level; ++y, ++count) {
                const std::string name =
                    std::to_string(level) + "-" + std::to_string(x) + "-" + std::to_string(y);
                const std::string expected = ReadFile(folder.File(name));
                EXPECT_NE(expected, "") << name;
                EXPECT_EQ(ReadStored(*reader, level, (1 << level) - 1 - y, x).m_bytes, expected)
                    << name;
            }
    EXPECT_EQ(count, 85);
}

} // namespace

} // namespace KxC
