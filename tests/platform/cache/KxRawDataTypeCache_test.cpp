// SPDX-License-Identifier: MIT
#include "CacheFolder.h"

#include <barrier>
#include <thread>
#include <vector>

namespace KxC {
namespace {

using KxRawDataTypeCache = CacheFolderTest;

TEST_F(KxRawDataTypeCache, LoadOfAnAddressNeverStoredIsUnknownAndMakesNoFile)
{
    EXPECT_EQ(LoadText(*m_manager, "a", 1, 2, 3), "unknown");
    EXPECT_FALSE(std::filesystem::exists(m_folder + "/tiles"));
}

TEST_F(KxRawDataTypeCache, LoadGivesAnEqualCopyOfWhatWasSavedAlsoAfterARestart)
{
    const std::string bytes("tile\0bytes", 10);
    EXPECT_TRUE(SaveText(*m_manager, "a", 1, 2, 3, bytes));
    EXPECT_EQ(LoadText(*m_manager, "a", 1, 2, 3), bytes);
    EXPECT_EQ(LoadText(*m_manager, "a", 1, 3, 2), "unknown");
    Restart();
    EXPECT_EQ(LoadText(*m_manager, "a", 1, 2, 3), bytes);
}

TEST_F(KxRawDataTypeCache, EmptyBytesAreBytes)
{
    EXPECT_TRUE(SaveText(*m_manager, "a", 1, 2, 3, ""));
    EXPECT_EQ(LoadText(*m_manager, "a", 1, 2, 3), "");
}

TEST_F(KxRawDataTypeCache, MarkerAndTileTakeEachOthersPlace)
{
    EXPECT_TRUE(SaveText(*m_manager, "a", 1, 2, 3, "old"));
    EXPECT_TRUE(SaveMarker(*m_manager, "a", 1, 2, 3));
    EXPECT_TRUE(SaveMarker(*m_manager, "a", 1, 2, 3));
    EXPECT_EQ(LoadText(*m_manager, "a", 1, 2, 3), "no data");
    EXPECT_EQ(Query(PathOf("a"), "SELECT count(*) FROM tiles"), "0");
    EXPECT_TRUE(SaveText(*m_manager, "a", 1, 2, 3, "new"));
    EXPECT_EQ(LoadText(*m_manager, "a", 1, 2, 3), "new");
    EXPECT_TRUE(SaveText(*m_manager, "a", 1, 2, 3, "newer"));
    EXPECT_EQ(LoadText(*m_manager, "a", 1, 2, 3), "newer");
    EXPECT_EQ(Query(PathOf("a"), "SELECT count(*) FROM no_data"), "0");
    EXPECT_EQ(Query(PathOf("a"), "SELECT count(*) FROM tiles"), "1");
}

TEST_F(KxRawDataTypeCache, SourcesNeverSeeEachOthersTiles)
{
    SaveText(*m_manager, "a", 1, 2, 3, "of a");
    SaveText(*m_manager, "b", 1, 2, 3, "of b");
    EXPECT_EQ(LoadText(*m_manager, "a", 1, 2, 3), "of a");
    EXPECT_EQ(LoadText(*m_manager, "b", 1, 2, 3), "of b");
}

TEST_F(KxRawDataTypeCache, FileIsReadableAsMBTiles)
{
    const std::string png = "\x89PNG\r\n\x1a\n and so on";
    SaveText(*m_manager, "world", 4, 11, 7, png);
    SaveText(*m_manager, "world", 9, 1, 2, png);
    const std::string path = PathOf("world");
    EXPECT_EQ(Query(path,
                    "SELECT tile_data FROM tiles"
                    " WHERE zoom_level = 4 AND tile_column = 7 AND tile_row = 11"),
              png);
    EXPECT_EQ(Query(path, "SELECT value FROM metadata WHERE name = 'name'"), "world");
    EXPECT_EQ(Query(path, "SELECT value FROM metadata WHERE name = 'format'"), "png");
    EXPECT_EQ(Query(path, "SELECT value FROM metadata WHERE name = 'type'"), "baselayer");
    EXPECT_EQ(Query(path, "SELECT value FROM metadata WHERE name = 'version'"), "1");
    EXPECT_EQ(Query(path, "SELECT value FROM metadata WHERE name = 'minzoom'"), "4");
    EXPECT_EQ(Query(path, "SELECT value FROM metadata WHERE name = 'maxzoom'"), "9");
    EXPECT_EQ(Query(path, "PRAGMA journal_mode"), "wal");
    EXPECT_EQ(Query(path, "PRAGMA integrity_check"), "ok");
    EXPECT_NE(Query(path, "PRAGMA application_id"), "0");
}

TEST_F(KxRawDataTypeCache, TellsTheFormatByTheFirstKnownSignature)
{
    SaveText(*m_manager, "j", 1, 1, 1, "neither");
    EXPECT_EQ(Query(PathOf("j"), "SELECT value FROM metadata WHERE name = 'format'"), "none");
    SaveText(*m_manager, "j", 1, 1, 2, "\xFF\xD8\xFF\xE0");
    EXPECT_EQ(Query(PathOf("j"), "SELECT value FROM metadata WHERE name = 'format'"), "jpg");
    SaveText(*m_manager, "w", 1, 1, 1, "RIFF1234WEBP");
    EXPECT_EQ(Query(PathOf("w"), "SELECT value FROM metadata WHERE name = 'format'"), "webp");
}

TEST_F(KxRawDataTypeCache, HandleIsTheSameForANameAndAnotherInAnotherFolder)
{
    const int handle = m_manager->OpenSubTreeCache(kType, "a");
    EXPECT_EQ(m_manager->OpenSubTreeCache(kType, "a"), handle);
    SaveText(*m_manager, "a", 1, 2, 3, "first folder");
    KxFile::m_strAppCachePath = (m_folder + "/second").c_str();
    EXPECT_NE(m_manager->OpenSubTreeCache(kType, "a"), handle);
    EXPECT_EQ(LoadText(*m_manager, "a", 1, 2, 3), "unknown");
    KxFile::m_strAppCachePath = m_folder.c_str();
    EXPECT_EQ(LoadText(*m_manager, "a", 1, 2, 3), "first folder");
}

TEST_F(KxRawDataTypeCache, NameThatIsNoPlainFileNameOpensNothing)
{
    const std::string tooLong(201, 'a');
    for (const char* name :
         {"", ".", "..", ".hidden", "a/b", "../a", "a b", "\xC3\xA4", "a\\b", tooLong.c_str()})
        EXPECT_EQ(m_manager->OpenSubTreeCache(kType, name), -1) << name;
    EXPECT_EQ(m_manager->OpenSubTreeCache(kType, KxString("a\0b", 3)), -1);
    EXPECT_NE(m_manager->OpenSubTreeCache(kType, std::string(200, 'a').c_str()), -1);
}

TEST_F(KxRawDataTypeCache, UnknownHandleOrTypeIsAMiss)
{
    KxSRawDataTypeCacheItem item;
    for (const int handle : {-1, 0, 99})
        EXPECT_EQ(m_manager->LoadTreeData(kType, handle, 1, 1, 1, item), GetchResult_Unknown);
    EXPECT_EQ(m_manager->OpenSubTreeCache(static_cast<Manager::CacheType>(2), "a"), -1);
    EXPECT_EQ(m_manager->SaveNoTreeDataInServer(kType, -1, 1, 1, 1), 0);
}

TEST_F(KxRawDataTypeCache, RefusesWhatIsNoItemOfBytes)
{
    const int handle = m_manager->OpenSubTreeCache(kType, "a");
    std::vector<unsigned char> bytes((64U << 20U) + 1);
    KxSRawDataTypeCacheItem item{GetchResult_HasData, 5, nullptr};
    EXPECT_EQ(m_manager->SaveTreeData(kType, handle, 1, 1, 1, item), 0);
    item.m_pData = bytes.data();
    item.m_nState = GetchResult_Unknown;
    EXPECT_EQ(m_manager->SaveTreeData(kType, handle, 1, 1, 1, item), 0);
    item = {GetchResult_HasData, static_cast<unsigned int>(bytes.size()), bytes.data()};
    EXPECT_EQ(m_manager->SaveTreeData(kType, handle, 1, 1, 1, item), 0);
    EXPECT_FALSE(std::filesystem::exists(PathOf("a")));
}

TEST_F(KxRawDataTypeCache, ListsTheSubTreesOnDiskByName)
{
    SaveText(*m_manager, "b", 1, 1, 1, "tile");
    SaveText(*m_manager, "b", 1, 1, 2, "tile");
    SaveMarker(*m_manager, "b", 1, 1, 3);
    SaveText(*m_manager, "a", 1, 1, 1, "tile");
    WriteBytes(m_folder + "/tiles/c.mbtiles", std::string(5000, 'x'));
    WriteBytes(m_folder + "/tiles/other.txt", "x");
    const std::vector<KxRawDataSubTreeInfo> trees = m_manager->ListSubTrees(kType);
    ASSERT_EQ(trees.size(), 3U);
    EXPECT_TRUE(trees[0].m_strName == "a");
    EXPECT_TRUE(trees[1].m_strPath == PathOf("b").c_str());
    EXPECT_EQ(trees[1].m_nTiles, 2U);
    EXPECT_EQ(trees[1].m_nNoData, 1U);
    EXPECT_GT(trees[1].m_nBytes, 0U);
    EXPECT_TRUE(trees[1].m_bReadable);
    EXPECT_FALSE(trees[2].m_bReadable);
    EXPECT_EQ(ReadBytes(PathOf("c")), std::string(5000, 'x')) << "listing changes nothing";
}

TEST_F(KxRawDataTypeCache, ClearForgetsEverythingAlsoForThoseWhoHaveTheFileOpen)
{
    Manager other;
    SaveText(*m_manager, "a", 1, 1, 1, std::string(1 << 20, 'x'));
    SaveMarker(*m_manager, "a", 1, 1, 2);
    EXPECT_EQ(LoadText(other, "a", 1, 1, 2), "no data");
    EXPECT_EQ(m_manager->ClearSubTree(kType, "a"), 1);
    EXPECT_EQ(LoadText(other, "a", 1, 1, 1), "unknown");
    EXPECT_EQ(LoadText(other, "a", 1, 1, 2), "unknown");
    EXPECT_TRUE(SaveText(other, "a", 1, 1, 1, "new"));
    EXPECT_EQ(LoadText(*m_manager, "a", 1, 1, 1), "new");
    EXPECT_LT(std::filesystem::file_size(PathOf("a")), 1U << 18U) << "space was not given back";
}

TEST_F(KxRawDataTypeCache, ClearOfWhatIsNotThereIsDoneWithoutMakingIt)
{
    EXPECT_EQ(m_manager->ClearSubTree(kType, "a"), 1);
    EXPECT_FALSE(std::filesystem::exists(PathOf("a")));
    EXPECT_EQ(m_manager->ClearSubTree(kType, "../a"), 0);
}

TEST_F(KxRawDataTypeCache, ManyThreadsWriteAndReadOneSubTree)
{
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 12; ++thread)
        threads.emplace_back([this, thread] {
            for (int i = 0; i < 25; ++i) {
                const std::string text = std::to_string(thread * 1000 + i);
                EXPECT_TRUE(SaveText(*m_manager, "a", thread, i, 0, text));
                EXPECT_EQ(LoadText(*m_manager, "a", thread, i, 0), text);
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(Query(PathOf("a"), "SELECT count(*) FROM tiles"), std::to_string(12 * 25));
    EXPECT_EQ(Query(PathOf("a"), "PRAGMA integrity_check"), "ok");
}

TEST_F(KxRawDataTypeCache, WhatIsSavedWhileOthersMakeTheFileIsSeenAtOnce)
{
    // Each load has a connection of its own, opened while other threads may still make the file.
    for (int round = 0; round < 10; ++round) {
        const std::string name = "a" + std::to_string(round);
        std::barrier<> start(6);
        std::vector<std::thread> threads;
        for (int thread = 0; thread < 6; ++thread)
            threads.emplace_back([&name, &start, thread] {
                Manager writer;
                start.arrive_and_wait();
                EXPECT_TRUE(SaveText(writer, name.c_str(), 1, thread, 0, "tile"));
                Manager reader;
                EXPECT_EQ(LoadText(reader, name.c_str(), 1, thread, 0), "tile");
            });
        for (std::thread& thread : threads)
            thread.join();
    }
}

} // namespace
} // namespace KxC
