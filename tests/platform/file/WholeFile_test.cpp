// SPDX-License-Identifier: MIT
#include "KxFile.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

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

} // namespace
} // namespace KxC
