// SPDX-License-Identifier: MIT
#include "TilePacks.h"
#include "support/ArchiveBytes.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <random>
#include <string>

namespace KxC {

namespace {

using namespace Test;
using namespace ArchiveBytes;

Archive GoodArchive()
{
    Archive archive;
    archive.m_tiles = "ABCDEFGH";
    archive.m_leaves = Directory({{1, 1, 1, 2}, {4, 4, 4}});
    archive.m_root = Directory({{0, 0, 1}, {1, 0, archive.m_leaves.size(), 0}});
    return archive;
}

std::unique_ptr<KxRasterDataAccessor> Open(const TempFolder& folder, const std::string& bytes)
{
    WriteFile(folder.File("pack.pmtiles"), bytes);
    return OpenPack(folder.File("pack.pmtiles"));
}

/// Reads whatever can be; there is nothing to expect but that it ends.
void ReadEverything(const TempFolder& folder, const std::string& bytes)
{
    const auto reader = Open(folder, bytes);
    if (reader == nullptr)
        return;
    for (int level = 0; level < 3; ++level)
        for (int i = 0; i < 1 << (2 * level); ++i) {
            ReadStored(*reader, level, i >> level, i & ((1 << level) - 1));
            ReadImage(*reader, level, i >> level, i & ((1 << level) - 1));
        }
}

TEST(PmTilesHostile, OpensTheArchiveThatTheOthersAreMadeOf)
{
    const TempFolder folder;
    EXPECT_NE(Open(folder, GoodArchive().Bytes()), nullptr);
}

TEST(PmTilesHostile, RefusesTilesThatAreNoPictures)
{
    const TempFolder folder;
    for (const int type : {0, 1, 5, 6, 255}) {
        Archive archive = GoodArchive();
        archive.m_type = type;
        EXPECT_EQ(Open(folder, archive.Bytes()), nullptr) << type;
    }
    Archive archive = GoodArchive();
    archive.m_tile = 2;
    EXPECT_EQ(Open(folder, archive.Bytes()), nullptr);
}

TEST(PmTilesHostile, RefusesDirectoriesInOtherCompressions)
{
    const TempFolder folder;
    for (const int compression : {0, 3, 4, 200}) {
        Archive archive = GoodArchive();
        archive.m_internal = compression;
        EXPECT_EQ(Open(folder, archive.Bytes()), nullptr) << compression;
    }
}

TEST(PmTilesHostile, RefusesAnArchiveWithoutTiles)
{
    const TempFolder folder;
    Archive archive = GoodArchive();
    archive.m_root = Directory({});
    EXPECT_EQ(Open(folder, archive.Bytes()), nullptr);
}

TEST(PmTilesHostile, FailsToReadATileBeyondTheTilesEnd)
{
    const TempFolder folder;
    Archive archive = GoodArchive();
    archive.m_root =
        Directory({{0, 0, 8}, {1, 8, 1}, {2, 0, 9}, {3, 1ULL << 62U, 4}, {4, 0, 0xFFFFFFFFU}});
    const auto reader = Open(folder, archive.Bytes());
    ASSERT_NE(reader, nullptr);
    EXPECT_EQ(ReadStored(*reader, 0, 0, 0).m_bytes, "ABCDEFGH");
    for (const int place : {0, 1, 2, 3}) {
        const Stored stored = ReadStored(*reader, 1, place / 2, place % 2);
        EXPECT_NE(stored.m_status, 5) << place;
        EXPECT_TRUE(stored.m_isNull) << place;
    }
}

TEST(PmTilesHostile, FailsToReadThroughALeafThatLeadsNowhere)
{
    const TempFolder folder;
    Archive archive = GoodArchive();
    // The first leaf lies beyond the leaves' end; the last entry is a tile, so that it opens.
    archive.m_root = Directory({{0, 0, 1}, {1, 1ULL << 40U, 9, 0}, {4, 0, 1}});
    const auto reader = Open(folder, archive.Bytes());
    ASSERT_NE(reader, nullptr);
    EXPECT_NE(ReadStored(*reader, 1, 1, 0).m_status, 5);
    EXPECT_EQ(ReadStored(*reader, 0, 0, 0).m_bytes, "A");
}

TEST(PmTilesHostile, RefusesALeafThatLeadsToItself)
{
    const TempFolder folder;
    Archive archive = GoodArchive();
    std::string leaf = Directory({{1, 0, 5, 0}});
    ASSERT_EQ(leaf.size(), 5U);
    archive.m_leaves = leaf;
    archive.m_root = Directory({{1, 0, 5, 0}});
    EXPECT_EQ(Open(folder, archive.Bytes()), nullptr);
    // With a tile behind it, it opens, and the tile under the circle cannot be read.
    archive.m_root = Directory({{1, 0, 5, 0}, {4, 0, 1}});
    const auto reader = Open(folder, archive.Bytes());
    ASSERT_NE(reader, nullptr);
    EXPECT_NE(ReadStored(*reader, 1, 1, 0).m_status, 5);
}

TEST(PmTilesHostile, SurvivesAnArchiveThatIsCutOffAnywhere)
{
    const TempFolder folder;
    const std::string whole = GoodArchive().Bytes();
    for (std::size_t size = 0; size < whole.size(); ++size) {
        WriteFile(folder.File("pack.pmtiles"), whole.substr(0, size));
        EXPECT_EQ(OpenPack(folder.File("pack.pmtiles")), nullptr) << size;
    }
}

TEST(PmTilesHostile, SurvivesAnArchiveThatIsCutOffWhileItIsOpen)
{
    const TempFolder folder;
    const std::string whole = GoodArchive().Bytes();
    const auto reader = Open(folder, whole);
    ASSERT_NE(reader, nullptr);
    std::filesystem::resize_file(folder.File("pack.pmtiles"), 130);
    EXPECT_NE(ReadStored(*reader, 0, 0, 0).m_status, 5);
}

TEST(PmTilesHostile, SurvivesRandomBytes)
{
    const TempFolder folder;
    const std::string whole = GoodArchive().Bytes();
    std::mt19937 random(20240607);
    for (int round = 0; round < 1000; ++round) {
        std::string bytes = whole;
        for (int i = 0; i < 3; ++i)
            bytes[8 + random() % (bytes.size() - 8)] = static_cast<char>(random());
        ReadEverything(folder, bytes);
    }
}

} // namespace

} // namespace KxC
