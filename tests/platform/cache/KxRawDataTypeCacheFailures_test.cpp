// SPDX-License-Identifier: MIT
#include "CacheFolder.h"

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace KxC {
namespace {

using KxRawDataTypeCacheFailures = CacheFolderTest;

constexpr unsigned int kNobody = 65534;

TEST_F(KxRawDataTypeCacheFailures, GarbageIsSetAsideAndAFreshFileStarted)
{
    const std::string garbage(10000, 'g');
    std::filesystem::create_directories(m_folder + "/tiles");
    WriteBytes(PathOf("a"), garbage);
    EXPECT_EQ(LoadText(*m_manager, "a", 1, 1, 1), "unknown");
    EXPECT_EQ(ReadBytes(PathOf("a") + ".damaged-1"), garbage);
    EXPECT_TRUE(SaveText(*m_manager, "a", 1, 1, 1, "fresh"));
    EXPECT_EQ(LoadText(*m_manager, "a", 1, 1, 1), "fresh");
}

TEST_F(KxRawDataTypeCacheFailures, SaveIntoGarbageStartsAfreshAndKeepsEveryDamagedFile)
{
    std::filesystem::create_directories(m_folder + "/tiles");
    for (const char* number : {"1", "2"}) {
        const std::string garbage = std::string(5000, 'g') + number;
        WriteBytes(PathOf("a"), garbage);
        EXPECT_TRUE(SaveText(*m_manager, "a", 1, 1, 1, "fresh"));
        EXPECT_EQ(LoadText(*m_manager, "a", 1, 1, 1), "fresh");
        EXPECT_EQ(ReadBytes(PathOf("a") + ".damaged-" + number), garbage);
        Restart();
    }
    WriteBytes(PathOf("a") + ".damaged-x", "no number");
    WriteBytes(m_folder + "/tiles/notes.damaged-1", "no database");
    const auto files = m_manager->ListDamagedFiles(KxRawDataTypeCacheManager::CacheType_SourceTile);
    ASSERT_EQ(files.size(), 2U);
    EXPECT_EQ(files[0].m_strPath.Cstr(), PathOf("a") + ".damaged-1");
    EXPECT_EQ(files[0].m_nBytes, 5001U);
    EXPECT_EQ(files[1].m_strPath.Cstr(), PathOf("a") + ".damaged-2");
}

TEST_F(KxRawDataTypeCacheFailures, TruncatedFileIsAMissAndServesAgain)
{
    for (int col = 0; col < 50; ++col)
        SaveText(*m_manager, "a", 1, 1, col, std::string(20000, 'x'));
    Restart();
    std::filesystem::resize_file(PathOf("a"), std::filesystem::file_size(PathOf("a")) / 2);
    EXPECT_EQ(LoadText(*m_manager, "a", 1, 1, 49), "unknown");
    EXPECT_TRUE(SaveText(*m_manager, "a", 1, 1, 49, "again"));
    EXPECT_EQ(LoadText(*m_manager, "a", 1, 1, 49), "again");
}

TEST_F(KxRawDataTypeCacheFailures, EmptyFileIsFilled)
{
    std::filesystem::create_directories(m_folder + "/tiles");
    WriteBytes(PathOf("a"), "");
    EXPECT_EQ(LoadText(*m_manager, "a", 1, 1, 1), "unknown");
    EXPECT_TRUE(SaveText(*m_manager, "a", 1, 1, 1, "tile"));
    EXPECT_EQ(LoadText(*m_manager, "a", 1, 1, 1), "tile");
}

TEST_F(KxRawDataTypeCacheFailures, AnotherProgramsDatabaseIsLeftAlone)
{
    std::filesystem::create_directories(m_folder + "/tiles");
    Query(PathOf("a"), "CREATE TABLE tiles(zoom_level, tile_column, tile_row, tile_data)");
    Query(PathOf("a"), "INSERT INTO tiles VALUES(1, 1, 1, 'theirs')");
    const std::string before = ReadBytes(PathOf("a"));
    EXPECT_EQ(LoadText(*m_manager, "a", 1, 1, 1), "unknown");
    EXPECT_FALSE(SaveText(*m_manager, "a", 1, 1, 1, "ours"));
    EXPECT_EQ(m_manager->ClearSubTree(kType, "a"), 0);
    EXPECT_EQ(ReadBytes(PathOf("a")), before);
}

TEST_F(KxRawDataTypeCacheFailures, FileOfALaterVersionIsLeftAlone)
{
    SaveText(*m_manager, "a", 1, 1, 1, "tile");
    Restart();
    Query(PathOf("a"), "PRAGMA user_version = 2");
    EXPECT_EQ(LoadText(*m_manager, "a", 1, 1, 1), "unknown");
    EXPECT_FALSE(SaveText(*m_manager, "a", 1, 1, 1, "new"));
    EXPECT_FALSE(std::filesystem::exists(PathOf("a") + ".damaged-1"));
}

TEST_F(KxRawDataTypeCacheFailures, FileThatWasTakenAwayIsStartedAnew)
{
    SaveText(*m_manager, "a", 1, 1, 1, "tile");
    std::filesystem::rename(m_folder + "/tiles", m_folder + "/moved");
    EXPECT_EQ(LoadText(*m_manager, "a", 1, 1, 1), "unknown");
    EXPECT_TRUE(SaveText(*m_manager, "a", 1, 1, 2, "new"));
    EXPECT_EQ(Query(PathOf("a"), "SELECT count(*) FROM tiles"), "1");
}

TEST_F(KxRawDataTypeCacheFailures, OversizedRowOfAnotherWriterIsAMiss)
{
    SaveText(*m_manager, "a", 1, 1, 1, "tile");
    Query(PathOf("a"), "UPDATE tiles SET tile_data = zeroblob(67108865)");
    EXPECT_EQ(LoadText(*m_manager, "a", 1, 1, 1), "unknown");
}

TEST_F(KxRawDataTypeCacheFailures, FolderThatCannotBeMadeIsSilence)
{
    WriteBytes(m_folder + "/tiles", "a file where the folder belongs");
    EXPECT_EQ(LoadText(*m_manager, "a", 1, 1, 1), "unknown");
    EXPECT_FALSE(SaveText(*m_manager, "a", 1, 1, 1, "tile"));
    EXPECT_TRUE(m_manager->ListSubTrees(kType).empty());
}

/// Runs `body` in a child process, which ends with its answer.
template <typename Body>
int InChild(Body&& body)
{
    const pid_t child = ::fork();
    if (child == 0)
        ::_exit(body() ? 0 : 1);
    int status = -1;
    ::waitpid(child, &status, 0);
    return status;
}

TEST_F(KxRawDataTypeCacheFailures, ReadOnlyFolderStillServesItsTiles)
{
    if (::geteuid() != 0)
        GTEST_SKIP() << "needs root to become somebody else";
    SaveText(*m_manager, "a", 1, 1, 1, "tile");
    m_manager.reset();
    std::filesystem::permissions(m_folder, std::filesystem::perms(0755));
    const int status = InChild([] {
        if (::seteuid(kNobody) != 0)
            return false;
        Manager manager;
        return LoadText(manager, "a", 1, 1, 1) == "tile" &&
               !SaveText(manager, "a", 1, 1, 2, "more") &&
               LoadText(manager, "a", 1, 1, 1) == "tile" &&
               LoadText(manager, "a", 1, 1, 2) == "unknown" &&
               manager.ClearSubTree(kType, "a") == 0;
    });
    EXPECT_EQ(status, 0);
}

TEST_F(KxRawDataTypeCacheFailures, FullDiskIsSilenceAndWhatWasStoredStays)
{
    SaveText(*m_manager, "a", 1, 1, 1, "tile");
    m_manager.reset();
    const int status = InChild([] {
        const rlimit limit{200000, 200000};
        if (::setrlimit(RLIMIT_FSIZE, &limit) != 0)
            return false;
        Manager manager;
        return !SaveText(manager, "a", 1, 1, 2, std::string(400000, 'x')) &&
               LoadText(manager, "a", 1, 1, 1) == "tile" &&
               LoadText(manager, "a", 1, 1, 2) == "unknown" &&
               SaveText(manager, "a", 1, 1, 3, "small");
    });
    EXPECT_EQ(status, 0);
    Restart();
    EXPECT_EQ(LoadText(*m_manager, "a", 1, 1, 1), "tile");
    EXPECT_EQ(LoadText(*m_manager, "a", 1, 1, 3), "small");
}

} // namespace
} // namespace KxC
