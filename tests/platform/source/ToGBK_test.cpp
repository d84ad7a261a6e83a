// SPDX-License-Identifier: MIT
#include "KxUtility.h"

#include <gtest/gtest.h>

#include <string>

namespace KxC {
namespace {

std::string Gbk(const std::string& utf8)
{
    const KxString gbk = KxUtility::ToGBK(KxString(utf8.data(), static_cast<int>(utf8.size())));
    return {gbk.Cstr(), static_cast<std::size_t>(gbk.GetLength())};
}

// Expected bytes: Python's "gbk" codec.
TEST(ToGBK, ConvertsChinese)
{
    EXPECT_EQ(Gbk("打开失败！"), "\xB4\xF2\xBF\xAA\xCA\xA7\xB0\xDC\xA3\xA1");
    EXPECT_EQ(Gbk("天地图 a.toml"), "\xCC\xEC\xB5\xD8\xCD\xBC a.toml");
}

TEST(ToGBK, LeavesAsciiAsItIs)
{
    EXPECT_EQ(Gbk(""), "");
    EXPECT_EQ(Gbk("/a/b.toml"), "/a/b.toml");
    EXPECT_EQ(Gbk(std::string("a\0b\n", 4)), std::string("a\0b\n", 4));
    EXPECT_EQ(Gbk(std::string("中\0b", 5)), std::string("\xD6\xD0\0b", 4));
}

TEST(ToGBK, WritesAQuestionMarkForWhatGbkLacks)
{
    EXPECT_EQ(Gbk("a\xF0\x9F\x97\xBA"
                  "b"),
              "a?b");                // U+1F5FA, a world map
    EXPECT_EQ(Gbk("\xC3\xB8"), "?"); // U+00F8
}

TEST(ToGBK, WritesAQuestionMarkForDamagedUtf8)
{
    EXPECT_EQ(Gbk("a\xFF"
                  "b"),
              "a?b");
    EXPECT_EQ(Gbk("a\xE4\xB8"), "a?");
    EXPECT_EQ(Gbk("\xE4"
                  "a中"),
              "?a\xD6\xD0");
    EXPECT_EQ(Gbk("\x80"), "?");
    EXPECT_EQ(Gbk("\xC0\xAF"), "??");
    EXPECT_EQ(Gbk("\xED\xA0\x80"), "?"); // a surrogate
}

} // namespace
} // namespace KxC
