// SPDX-License-Identifier: MIT
#include "Paths.h"

#include "Conventions.h"

#include <gmock/gmock.h>

namespace KxOrigin {
namespace {

using testing::ElementsAre;
using testing::Optional;

TEST(SplitPath, SplitsAtSlashesAndDecodesPercentSequences)
{
    EXPECT_THAT(SplitPath("/xyz/a%20b/3.png"), Optional(ElementsAre("xyz", "a b", "3.png")));
    EXPECT_THAT(SplitPath("/"), Optional(ElementsAre("")));
    EXPECT_THAT(SplitPath("//x/"), Optional(ElementsAre("", "x", "")));
}

TEST(SplitPath, AnEncodedSlashDoesNotSeparate)
{
    EXPECT_THAT(SplitPath("/agent-is/My%2fApp/x"),
                Optional(ElementsAre("agent-is", "My/App", "x")));
}

TEST(SplitPath, RefusesBrokenPercentSequences)
{
    for (const char* path : {"/%", "/%2", "/%zz", "/%+1", "/% 1", "/%-1", "/a/%2/", "", "xyz"})
        EXPECT_FALSE(SplitPath(path)) << path;
}

TEST(ReadNumber, ReadsWholeNumbersOnly)
{
    EXPECT_EQ(ReadNumber("0"), 0);
    EXPECT_EQ(ReadNumber("-7"), -7);
    EXPECT_EQ(ReadNumber("007"), 7);
    for (const char* text : {"", "-", "+1", " 1", "1 ", "1.0", "0x10", "1e3", "--1"})
        EXPECT_FALSE(ReadNumber(text)) << text;
}

TEST(ReadNumber, BringsHugeNumbersToTheBound)
{
    EXPECT_EQ(ReadNumber("9223372036854775807"), TileNumbers::kFarOutside);
    EXPECT_EQ(ReadNumber("-9223372036854775808"), -TileNumbers::kFarOutside);
    EXPECT_EQ(ReadNumber(std::string(500, '9')), TileNumbers::kFarOutside);
    EXPECT_EQ(ReadNumber("-" + std::string(500, '9')), -TileNumbers::kFarOutside);
}

TEST(Paths, MarkedNumbersAreNegative)
{
    EXPECT_EQ(ReadMarkedNumber("M5"), -5);
    EXPECT_EQ(ReadMarkedNumber("12"), 12);
    EXPECT_EQ(ReadMarkedNumber("M99999999999999999999"), -TileNumbers::kFarOutside);
    for (const char* text : {"", "M", "-5", "M-5", "MM5", "5M", "m5"})
        EXPECT_EQ(ReadMarkedNumber(text), std::nullopt) << text;
}

TEST(Paths, QueryValuesAreFoundByTheirNames)
{
    EXPECT_EQ(QueryValue("x=M5&y=12&z=9", "y"), "12");
    EXPECT_EQ(QueryValue("yy=1&y&y=2&y=3", "y"), "2");
    EXPECT_EQ(QueryValue("y=", "y"), "");
    EXPECT_EQ(QueryValue("", "y"), "");
    EXPECT_EQ(QueryValue("&&x=1&", "y"), "");
}

} // namespace
} // namespace KxOrigin
