// SPDX-License-Identifier: MIT
#include "jobs/FailedTiles.h"

#include "Command.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace KxTileHost {
namespace {

namespace fs = std::filesystem;

class FailedTilesTest : public ::testing::Test
{
protected:
    std::string Path(const std::string& name) const { return m_folder.File(name); }
    void Write(const std::string& name, const std::string& text) const
    {
        std::ofstream(Path(name)) << text;
    }
    std::size_t CountFiles() const
    {
        const fs::directory_iterator entries(m_folder.Path());
        return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
    }

    KxC::TempFolder m_folder;
};

TEST_F(FailedTilesTest, AreReadAsTheyWereWritten)
{
    FailedTiles failed(Path("sub/list"));
    failed.Add({5, 3, 4}, "HTTP status 500\nand\tmore");
    failed.Add({0, 0, 0}, "");
    EXPECT_FALSE(fs::exists(Path("sub/list"))) << "it appears when it is whole";
    EXPECT_TRUE(failed.Finish());
    const std::vector<HostTile> tiles = ReadTileList(Path("sub/list"));
    ASSERT_EQ(tiles.size(), 2U);
    EXPECT_EQ(tiles[0].m_x, 5);
    EXPECT_EQ(tiles[0].m_y, 3);
    EXPECT_EQ(tiles[0].m_z, 4);
    EXPECT_EQ(tiles[1].m_z, 0);
}

TEST_F(FailedTilesTest, KeepAReasonOnOneLine)
{
    FailedTiles failed(Path("list"), "Nothing to try again.");
    failed.Add({5, 3, 4}, "a\r\nb\tc\x1b[1m \xc3\xa4");
    EXPECT_TRUE(failed.Finish());
    const std::string text = KxC::ReadFile(Path("list"));
    EXPECT_EQ(text.substr(text.find("\n# Nothing")),
              "\n# Nothing to try again.\n5/3/4\ta  b c [1m \xc3\xa4\n");
}

TEST_F(FailedTilesTest, LeaveNoListWhereNothingFailed)
{
    Write("list", "1/1/1\n");
    FailedTiles failed(Path("list"));
    EXPECT_TRUE(failed.Finish());
    EXPECT_EQ(CountFiles(), 0U);
}

TEST_F(FailedTilesTest, LeaveTheOldListUntilTheNewOneIsWhole)
{
    Write("list", "1/1/1\n");
    {
        FailedTiles failed(Path("list"));
        failed.Add({0, 0, 0}, "why");
    }
    EXPECT_EQ(ReadTileList(Path("list")).front().m_z, 1);
    EXPECT_EQ(CountFiles(), 1U);
}

TEST_F(FailedTilesTest, TakeOverAnEarlierListThatWasNotDone)
{
    Write("list", "# of before\n1/0/1\told reason\n2/3/2\told reason\nno tile\n3/3/3");
    FailedTiles failed(Path("list"));
    failed.Add({2, 3, 2}, "new reason");
    EXPECT_TRUE(failed.FinishWithEarlier());
    std::ifstream file(Path("list"));
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);)
        if (!line.starts_with('#'))
            lines.push_back(line);
    EXPECT_EQ(lines,
              (std::vector<std::string>{"2/3/2\tnew reason", "1/0/1\told reason", "3/3/3\t"}));
    EXPECT_EQ(failed.Count(), 3U);
    EXPECT_EQ(CountFiles(), 1U);
}

TEST_F(FailedTilesTest, LeaveAnEarlierListThatWasNotDoneWhereNothingFailed)
{
    Write("list", "1/1/1 mine\n");
    FailedTiles failed(Path("list"));
    EXPECT_TRUE(failed.FinishWithEarlier());
    EXPECT_EQ(ReadTileList(Path("list")).size(), 1U);
    FailedTiles unnamed("");
    unnamed.Add({0, 0, 0}, "why");
    EXPECT_TRUE(unnamed.FinishWithEarlier());
}

TEST_F(FailedTilesTest, SayWhenTheListCannotBeWritten)
{
    Write("file", "");
    FailedTiles failed(Path("file/list"));
    failed.Add({0, 0, 0}, "why");
    EXPECT_FALSE(failed.Finish());
}

TEST_F(FailedTilesTest, MayBeWrittenByHand)
{
    Write("list", "# mine\n\n1/0/1\r\n2/3/2 because\n");
    const std::vector<HostTile> tiles = ReadTileList(Path("list"));
    ASSERT_EQ(tiles.size(), 2U);
    EXPECT_EQ(tiles[1].m_y, 3);
}

TEST_F(FailedTilesTest, NameTheLineThatIsNoTile)
{
    Write("list", "1/0/1\n2/4/2\n");
    try {
        ReadTileList(Path("list"));
        ADD_FAILURE() << "row 4 of level 2 was taken";
    } catch (const CommandError& error) {
        EXPECT_NE(std::string(error.what()).find("line 2"), std::string::npos) << error.what();
    }
    EXPECT_THROW(ReadTileList(Path("missing")), CommandError);
    EXPECT_THROW(ReadTileList(m_folder.Path().string()), CommandError);
}

} // namespace
} // namespace KxTileHost
