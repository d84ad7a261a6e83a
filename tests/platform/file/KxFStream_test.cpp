// SPDX-License-Identifier: MIT
#include "KxFStream.h"

#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>

namespace KxC {
namespace {

constexpr int kWrite = 1;

unsigned char Save(KxFStream& stream, const std::string& text)
{
    return stream.Save(reinterpret_cast<const unsigned char*>(text.data()),
                       static_cast<unsigned int>(text.size()));
}

TEST(KxFStream, WritesAFile)
{
    const TempFolder temp;
    const std::string path = temp.File("tile");
    const std::string bytes(100000, 'x');
    KxFStream stream;
    ASSERT_EQ(stream.Open(path.c_str(), kWrite, 8192), 1);
    EXPECT_EQ(Save(stream, "a\n"), 1);
    EXPECT_EQ(Save(stream, bytes), 1);
    EXPECT_EQ(stream.Save(nullptr, 0), 1);
    EXPECT_EQ(stream.Close(), 1);
    EXPECT_EQ(ReadFile(path), "a\n" + bytes);
}

TEST(KxFStream, ReplacesWhatTheFileHeld)
{
    const TempFolder temp;
    const std::string path = temp.File("tile");
    WriteFile(path, "something longer");
    KxFStream stream;
    ASSERT_EQ(stream.Open(path.c_str(), kWrite, 8192), 1);
    EXPECT_EQ(Save(stream, "new"), 1);
    EXPECT_EQ(stream.Close(), 1);
    EXPECT_EQ(ReadFile(path), "new");
}

TEST(KxFStream, GathersAsManyBytesAsItWasTold)
{
    const TempFolder temp;
    const std::string path = temp.File("tile");
    KxFStream stream;
    ASSERT_EQ(stream.Open(path.c_str(), kWrite, 65536), 1);
    EXPECT_EQ(Save(stream, std::string(60000, 'x')), 1);
    EXPECT_EQ(ReadFile(path), "");
    EXPECT_EQ(stream.Close(), 1);
    EXPECT_EQ(ReadFile(path).size(), 60000U);
}

TEST(KxFStream, TakesAnyBufferSize)
{
    const TempFolder temp;
    const std::string path = temp.File("tile");
    for (const int size : {INT_MIN, -1, 0, 1, INT_MAX}) {
        KxFStream stream;
        ASSERT_EQ(stream.Open(path.c_str(), kWrite, size), 1) << size;
        EXPECT_EQ(Save(stream, std::to_string(size)), 1);
        EXPECT_EQ(stream.Close(), 1);
        EXPECT_EQ(ReadFile(path), std::to_string(size));
    }
}

TEST(KxFStream, CannotOpenWhereThereIsNoFolderOrAFolder)
{
    const TempFolder temp;
    KxFStream stream;
    EXPECT_EQ(stream.Open(temp.File("missing/tile").c_str(), kWrite, 8192), 0);
    EXPECT_EQ(stream.Open(temp.Path().c_str(), kWrite, 8192), 0);
    EXPECT_EQ(stream.Open("", kWrite, 8192), 0);
    EXPECT_EQ(stream.Open(temp.File("tile").c_str(), 0, 8192), 0);
}

TEST(KxFStream, SavesAndClosesNothingWhenNotOpen)
{
    KxFStream stream;
    EXPECT_EQ(Save(stream, "x"), 0);
    EXPECT_EQ(stream.Close(), 0);
}

TEST(KxFStream, ClosesTheFileBeforeWhenOpeningAnother)
{
    const TempFolder temp;
    KxFStream stream;
    ASSERT_EQ(stream.Open(temp.File("first").c_str(), kWrite, 8192), 1);
    EXPECT_EQ(Save(stream, "first"), 1);
    ASSERT_EQ(stream.Open(temp.File("second").c_str(), kWrite, 8192), 1);
    EXPECT_EQ(ReadFile(temp.File("first")), "first");
    EXPECT_EQ(Save(stream, "second"), 1);
    EXPECT_EQ(stream.Open(temp.File("missing/third").c_str(), kWrite, 8192), 0);
    EXPECT_EQ(ReadFile(temp.File("second")), "second");
    EXPECT_EQ(Save(stream, "x"), 0);
}

TEST(KxFStream, ClosesItsFileAtItsEnd)
{
    const TempFolder temp;
    {
        KxFStream stream;
        ASSERT_EQ(stream.Open(temp.File("tile").c_str(), kWrite, 8192), 1);
        EXPECT_EQ(Save(stream, "bytes"), 1);
    }
    EXPECT_EQ(ReadFile(temp.File("tile")), "bytes");
}

TEST(KxFStream, TellsOfAFullDiskAtTheLatestOnClosing)
{
    KxFStream stream;
    ASSERT_EQ(stream.Open("/dev/full", kWrite, 8192), 1);
    EXPECT_EQ(Save(stream, "small enough to wait in the buffer"), 1);
    EXPECT_EQ(stream.Close(), 0);
    ASSERT_EQ(stream.Open("/dev/full", kWrite, 8192), 1);
    EXPECT_EQ(Save(stream, std::string(100000, 'x')), 0);
    EXPECT_EQ(stream.Close(), 0);
}

} // namespace
} // namespace KxC
