// SPDX-License-Identifier: MIT
#include "KxTileArchiveWriter.h"

#include "ArchiveFiles.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <atomic>
#include <thread>

namespace KxC {

namespace {

using namespace Test;

class KxTileArchiveWriterForms : public testing::TestWithParam<KxTileArchiveFormat>
{
};

INSTANTIATE_TEST_SUITE_P(Both,
                         KxTileArchiveWriterForms,
                         testing::Values(KxTileArchiveFormat_MBTiles, KxTileArchiveFormat_PMTiles));

TEST_P(KxTileArchiveWriterForms, GivesTheFileItsNameWhenItIsWhole)
{
    const TempFolder folder;
    const std::string path = folder.File("tiles");
    WriteFile(path, "what was there before");
    KxTileArchiveWriter writer;
    ASSERT_TRUE(writer.Create(path.c_str(), GetParam(), {"name", "", ""}));
    ASSERT_TRUE(AddTile(writer, 3, 1, 2, FakePng(1)));
    EXPECT_EQ(ReadFile(path), "what was there before");
    ASSERT_TRUE(writer.Finish()) << writer.GetError().Cstr();
    EXPECT_GT(ReadFile(path).size(), 100U);
    EXPECT_EQ(FilesIn(folder.Path()), std::vector<std::string>{"tiles"});
    EXPECT_EQ(writer.GetError().IsEmpty(), 1);
}

TEST_P(KxTileArchiveWriterForms, ReportsWhatItWrote)
{
    const TempFolder folder;
    KxTileArchiveWriter writer;
    ASSERT_TRUE(writer.Create(folder.File("tiles").c_str(), GetParam(), {"name", "", ""}));
    EXPECT_TRUE(AddTile(writer, 2, 1, 3, FakePng(1)));
    EXPECT_TRUE(AddTile(writer, 1, 0, 1, FakePng(1)));
    EXPECT_TRUE(AddTile(writer, 2, 2, 2, "\xff\xd8\xff one JPEG"));
    EXPECT_TRUE(AddTile(writer, 2, 4, 0, FakePng(2))); // beside the grid
    EXPECT_TRUE(AddTile(writer, 31, 0, 0, FakePng(2)));
    EXPECT_TRUE(AddTile(writer, 2, 0, 0, ""));
    ASSERT_TRUE(writer.Finish()) << writer.GetError().Cstr();
    const KxTileArchiveReport& report = writer.GetReport();
    EXPECT_EQ(report.m_nTiles, 3U);
    EXPECT_EQ(report.m_nPictures, 2U);
    EXPECT_EQ(report.m_nSkipped, 3U);
    EXPECT_EQ(report.m_nMinLevel, 1);
    EXPECT_EQ(report.m_nMaxLevel, 2);
    EXPECT_STREQ(report.m_strFormat.Cstr(), "png");
    // Columns 2 and 3 of 4; rows 1 and 2, to 66.5 degrees on both sides: atan(sinh(pi / 2)).
    EXPECT_NEAR(report.m_bounds.m_dLeft, 0, 1e-9);
    EXPECT_NEAR(report.m_bounds.m_dRight, 180, 1e-9);
    EXPECT_NEAR(report.m_bounds.m_dTop, 66.51326044311186, 1e-9);
    EXPECT_NEAR(report.m_bounds.m_dBottom, -66.51326044311186, 1e-9);
}

TEST_P(KxTileArchiveWriterForms, LeavesNothingBehindWhenItIsGivenUp)
{
    const TempFolder folder;
    {
        KxTileArchiveWriter writer;
        ASSERT_TRUE(writer.Create(folder.File("tiles").c_str(), GetParam(), {}));
        ASSERT_TRUE(AddTile(writer, 0, 0, 0, FakePng(1)));
        ASSERT_TRUE(writer.Create(folder.File("others").c_str(), GetParam(), {}));
    }
    EXPECT_TRUE(FilesIn(folder.Path()).empty());
}

TEST_P(KxTileArchiveWriterForms, MakesNoArchiveWithoutTiles)
{
    const TempFolder folder;
    KxTileArchiveWriter writer;
    ASSERT_TRUE(writer.Create(folder.File("tiles").c_str(), GetParam(), {}));
    EXPECT_FALSE(writer.Finish());
    EXPECT_STREQ(writer.GetError().Cstr(), "there is no tile to write");
    EXPECT_TRUE(FilesIn(folder.Path()).empty());
}

TEST_P(KxTileArchiveWriterForms, SaysWhyAFileCannotBeMade)
{
    const TempFolder folder;
    KxTileArchiveWriter writer;
    EXPECT_FALSE(writer.Create(folder.File("missing/tiles").c_str(), GetParam(), {}));
    EXPECT_EQ(writer.GetError().IsEmpty(), 0);
    EXPECT_FALSE(AddTile(writer, 0, 0, 0, FakePng(1)));
    EXPECT_FALSE(writer.Finish());
}

/// No file of this process grows beyond a size while one lives.
class FileLimit
{
public:
    explicit FileLimit(rlim_t bytes)
    {
        ::getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit limit{bytes, m_before.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileLimit() { ::setrlimit(RLIMIT_FSIZE, &m_before); }
    FileLimit(const FileLimit&) = delete;
    FileLimit& operator=(const FileLimit&) = delete;

private:
    rlimit m_before{};
};

TEST_P(KxTileArchiveWriterForms, LeavesNothingBehindWhereThereIsNoRoom)
{
    const TempFolder folder;
    KxTileArchiveWriter writer;
    ASSERT_TRUE(writer.Create(folder.File("tiles").c_str(), GetParam(), {}));
    {
        const FileLimit limit(3 << 20);
        for (int i = 0; i < 64; ++i)
            AddTile(writer, 3, i / 8, i % 8, FakePng(i) + std::string(100000, 'x'));
        EXPECT_FALSE(writer.Finish());
    }
    EXPECT_EQ(writer.GetError().IsEmpty(), 0);
    EXPECT_TRUE(FilesIn(folder.Path()).empty());
}

TEST_P(KxTileArchiveWriterForms, TakesTilesFromSeveralThreadsAtOnce)
{
    const TempFolder folder;
    KxTileArchiveWriter writer;
    ASSERT_TRUE(writer.Create(folder.File("tiles").c_str(), GetParam(), {}));
    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread)
        threads.emplace_back([&, thread] {
            for (int i = thread; i < 256; i += 4)
                failures += AddTile(writer, 4, i / 16, i % 16, FakePng(i)) ? 0 : 1;
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(failures.load(), 0);
    ASSERT_TRUE(writer.Finish());
    EXPECT_EQ(writer.GetReport().m_nPictures, 256U);
}

TEST(KxTileArchiveWriter, KnowsTwoFormats)
{
    const TempFolder folder;
    KxTileArchiveWriter writer;
    EXPECT_FALSE(
        writer.Create(folder.File("tiles").c_str(), static_cast<KxTileArchiveFormat>(2), {}));
    EXPECT_EQ(writer.GetError().IsEmpty(), 0);
}

} // namespace

} // namespace KxC
