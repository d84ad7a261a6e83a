// SPDX-License-Identifier: MIT
#include "KxFile.h"
#include "KxWholeFile.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <thread>

namespace KxC {
namespace {

unsigned char Save(const std::string& path, const std::string& text)
{
    return KxFile::SaveWhole(
        path.c_str(), reinterpret_cast<const unsigned char*>(text.data()), text.size());
}

std::size_t FilesIn(const TempFolder& folder)
{
    return static_cast<std::size_t>(
        std::distance(std::filesystem::directory_iterator(folder.Path()), {}));
}

TEST(SaveWhole, WritesAndReplacesFiles)
{
    const TempFolder folder;
    EXPECT_EQ(Save(folder.File("a"), std::string("\0one", 4)), 1);
    EXPECT_EQ(ReadFile(folder.File("a")), std::string("\0one", 4));
    EXPECT_EQ(Save(folder.File("a"), ""), 1);
    EXPECT_EQ(ReadFile(folder.File("a")), "");
    EXPECT_EQ(FilesIn(folder), 1U) << "no temporary file is left";
}

TEST(SaveWhole, KeepsTheModeOfAnExistingFile)
{
    const TempFolder folder;
    WriteFile(folder.File("a"), "old");
    ASSERT_EQ(::chmod(folder.File("a").c_str(), 0640), 0);
    EXPECT_EQ(Save(folder.File("a"), "new"), 1);
    struct stat after = {};
    ASSERT_EQ(::stat(folder.File("a").c_str(), &after), 0);
    EXPECT_EQ(after.st_mode & 07777, 0640U);
}

TEST(SaveWhole, FollowsLinks)
{
    const TempFolder folder;
    std::filesystem::create_directory(folder.Path() / "elsewhere");
    WriteFile(folder.File("elsewhere/target"), "old");
    std::filesystem::create_symlink("elsewhere/target", folder.File("link"));
    EXPECT_EQ(Save(folder.File("link"), "new"), 1);
    EXPECT_TRUE(std::filesystem::is_symlink(folder.File("link")));
    EXPECT_EQ(ReadFile(folder.File("elsewhere/target")), "new");
}

TEST(SaveWhole, WritesIntoAPipeInsteadOfReplacingIt)
{
    const TempFolder folder;
    ASSERT_EQ(::mkfifo(folder.File("pipe").c_str(), 0600), 0);
    std::string read;
    std::thread reader([&] { read = ReadFile(folder.File("pipe")); });
    EXPECT_EQ(Save(folder.File("pipe"), "through"), 1);
    reader.join();
    EXPECT_EQ(read, "through");
    EXPECT_TRUE(std::filesystem::is_fifo(folder.File("pipe")));
}

TEST(SaveWhole, SaysThatADeviceTookNothing)
{
    // The node is never replaced: SaveWhole writes into what is no file.
    EXPECT_EQ(Save("/dev/full", "text"), 0);
    EXPECT_TRUE(std::filesystem::is_character_file("/dev/full"));
}

TEST(SaveWhole, LeavesEverythingAsItWasWhereItCannotWrite)
{
    const TempFolder folder;
    EXPECT_EQ(Save(folder.File("none/a"), "text"), 0);
    EXPECT_EQ(Save(folder.Path().string(), "text"), 0) << "a folder";
    EXPECT_EQ(Save("", "text"), 0);
    EXPECT_EQ(FilesIn(folder), 0U);
}

const unsigned char* Bytes(const char* text)
{
    return reinterpret_cast<const unsigned char*>(text);
}

TEST(KxWholeFile, TakesPiecesInAnyOrderAndThenItsName)
{
    const TempFolder folder;
    WriteFile(folder.File("a"), "old");
    {
        KxWholeFile file(folder.File("a").c_str());
        ASSERT_EQ(file.IsOpen(), 1);
        ASSERT_EQ(file.IsSeekable(), 1);
        EXPECT_EQ(file.Write(Bytes("____ef"), 6), 1);
        EXPECT_EQ(file.WriteAt(0, Bytes("ab"), 2), 1);
        EXPECT_EQ(file.Write(Bytes("gh"), 2), 1) << "behind all that was written";
        EXPECT_EQ(file.WriteAt(2, Bytes("cd"), 2), 1);
        EXPECT_EQ(ReadFile(folder.File("a")), "old");
        EXPECT_EQ(file.Finish(), 1);
        EXPECT_EQ(ReadFile(folder.File("a")), "abcdefgh");
        EXPECT_EQ(file.Write(Bytes("i"), 1), 0) << "after its end";
    }
    EXPECT_EQ(ReadFile(folder.File("a")), "abcdefgh");
    EXPECT_EQ(FilesIn(folder), 1U);
}

TEST(KxWholeFile, IsGoneWhereItWasNotFinished)
{
    const TempFolder folder;
    WriteFile(folder.File("a"), "old");
    {
        KxWholeFile file(folder.File("a").c_str());
        EXPECT_EQ(file.Write(Bytes("new"), 3), 1);
        EXPECT_EQ(FilesIn(folder), 2U);
    }
    EXPECT_EQ(ReadFile(folder.File("a")), "old");
    EXPECT_EQ(FilesIn(folder), 1U);
}

TEST(KxWholeFile, IsItsOwnersAloneUntilItReplacesAFile)
{
    const TempFolder folder;
    WriteFile(folder.File("a"), "old");
    ASSERT_EQ(::chmod(folder.File("a").c_str(), 0604), 0);
    const auto modeOf = [](const std::filesystem::path& path) {
        struct stat found = {};
        EXPECT_EQ(::stat(path.c_str(), &found), 0);
        return found.st_mode & 07777;
    };
    KxWholeFile file(folder.File("a").c_str());
    ASSERT_EQ(file.Write(Bytes("new"), 3), 1);
    for (const auto& entry : std::filesystem::directory_iterator(folder.Path()))
        if (entry.path() != folder.File("a")) {
            EXPECT_EQ(modeOf(entry.path()), 0600U);
        }
    ASSERT_EQ(FilesIn(folder), 2U);
    ASSERT_EQ(file.Finish(), 1);
    EXPECT_EQ(modeOf(folder.File("a")), 0604U);
}

TEST(KxWholeFile, SaysLaterWhyItDidNotOpen)
{
    const TempFolder folder;
    KxWholeFile file(folder.File("no-such-folder/a").c_str());
    EXPECT_EQ(file.IsOpen(), 0);
    EXPECT_EQ(file.IsSeekable(), 0);
    errno = 0;
    EXPECT_EQ(file.Write(Bytes("a"), 1), 0);
    EXPECT_EQ(errno, ENOENT);
    errno = 0;
    EXPECT_EQ(file.Finish(), 0);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(FilesIn(folder), 0U);
}

} // namespace
} // namespace KxC
