// SPDX-License-Identifier: MIT
#include "HeaderLines.h"

#include <gtest/gtest.h>

namespace KxC::Http {

TEST(HeaderLines, AcceptsUsualLines)
{
    for (const char* line : {"Referer: http://x/", "X-Key:abc", "Cookie: a=b; c=d", "X-Empty:"})
        EXPECT_EQ("", HeaderLineFault(line)) << line;
}

TEST(HeaderLines, FindsLineEndsAnywhere)
{
    EXPECT_FALSE(IsOneLine("a\rb"));
    EXPECT_FALSE(IsOneLine("a\n"));
    EXPECT_FALSE(IsOneLine(std::string_view("a\0b", 3)));
    EXPECT_TRUE(IsOneLine("a\tb"));
}

TEST(HeaderLines, KnowsHeadersByWholeNameWithoutCase)
{
    EXPECT_TRUE(IsHeader("uSER-aGENT: x", "User-Agent"));
    EXPECT_FALSE(IsHeader("User-Agent-Extra: x", "User-Agent"));
    EXPECT_FALSE(IsHeader("User-Agent", "User-Agent"));
}

} // namespace KxC::Http
