// SPDX-License-Identifier: MIT
#include "DefinitionOnDisk.h"

#include <gmock/gmock.h>

namespace KxC {
namespace {

using test::AllMessages;
using ::testing::HasSubstr;

TEST(CheckTSDText, ReadsFromMemory)
{
    EXPECT_EQ(KxUtility::CheckTSDText("tile_size = 'x'", "a.toml"), 0);
    EXPECT_THAT(AllMessages(), HasSubstr("error 1 tile_size: is a text"));
    EXPECT_EQ(KxUtility::CheckTSDText("scheme = 10\nurl = 'http://a/{z}/{x}/{y}'", ""), 1);
    EXPECT_EQ(AllMessages(), "");
}

TEST(CheckTSDText, SeeksScriptsAndNamesByThePath)
{
    const test::ScratchFolder folder;
    folder.Write("tile.lua", "-- text");
    EXPECT_EQ(KxUtility::CheckTSDText("url = 'tile.lua'", (folder.Path() + "/a").c_str()), 1);
    EXPECT_EQ(KxUtility::CheckTSDText("url = 'tile.lua'", "/nowhere/a"), 0);
    EXPECT_EQ(KxUtility::CheckTSDText("url = 'tile.lua'", (folder.Path() + "/a#b").c_str()), 0);
    EXPECT_THAT(AllMessages(), HasSubstr("holds one source; leave the # and the name"));
}

TEST(CheckTSDText, RefusesMoreThanAMebibyte)
{
    const std::string large((std::size_t{1} << 20) + 1, '#');
    EXPECT_EQ(KxUtility::CheckTSDText(large.c_str(), "a"), 0);
    EXPECT_THAT(AllMessages(), HasSubstr("larger than 1 MiB"));
}

} // namespace
} // namespace KxC
