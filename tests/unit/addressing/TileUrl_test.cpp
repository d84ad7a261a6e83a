// SPDX-License-Identifier: MIT
#include "TileUrl.h"

#include "KxTileFetcher.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

namespace KxC {
namespace {

/// Fills a record from plain parameters with the defaults of an ordinary Web Mercator source.
void Load(KxTSDParamItem& item,
          const char* urlTemplate,
          int scheme = 10,
          int southToNorth = 0,
          int levelOffset = 0,
          const char* servers = "")
{
    item.LoadFromParam(
        urlTemplate, servers, scheme, 0, southToNorth, levelOffset, 256, "", 0, KxTime());
}

std::string Url(KxTSDParamItem& item, int z, int y, int x)
{
    return KxTileFetcher::GetURL(&item, z, y, x).Cstr();
}

// Tests of this program may run in one process, where the rotation has moved on; so the server
// tests ask for which server follows which.

TEST(GetURL, WalksTheServerListInTurn)
{
    KxTSDParamItem item;
    Load(item, "{$serverpart}", 10, 0, 0, "a,b,c");
    std::string walked = Url(item, 0, 0, 0);
    for (int i = 0; i < 5; ++i)
        walked += Url(item, 0, 0, 0);
    EXPECT_NE(std::string("abcabcabc").find(walked), std::string::npos) << walked;
}

TEST(GetURL, AdvancesTheRotationOfAllSourcesTogether)
{
    KxTSDParamItem listed;
    Load(listed, "{$serverpart}", 10, 0, 0, "a b");
    KxTSDParamItem other;
    Load(other, "{$serverpart}/{$x}", 10, 0, 0, "");
    const std::string first = Url(listed, 0, 0, 0);
    EXPECT_EQ(Url(other, 1, 0, 1), "/1") << "an empty list gives an empty server part";
    EXPECT_EQ(Url(listed, 0, 0, 0), first) << "two turns passed on a list of two";
}

TEST(GetURL, LeavesTheRotationAloneWithoutPlaceholder)
{
    KxTSDParamItem listed;
    Load(listed, "{$serverpart}", 10, 0, 0, "a b");
    KxTSDParamItem plain;
    Load(plain, "{$x}", 10, 0, 0, "p q");
    const std::string first = Url(listed, 0, 0, 0);
    Url(plain, 0, 0, 0);
    EXPECT_NE(Url(listed, 0, 0, 0), first);
}

TEST(GetURL, WrapsTheRotationBehindOneHundredThousandAndOne)
{
    KxTSDParamItem item;
    Load(item, "{$serverpart}", 10, 0, 0, "even odd");
    // Walk until one server comes twice in a row: only the wrap, from 100001 to 1, does that.
    std::string before = Url(item, 0, 0, 0);
    std::string now = Url(item, 0, 0, 0);
    int walked = 2;
    for (; before != now && walked < 200010; ++walked) {
        before = now;
        now = Url(item, 0, 0, 0);
    }
    EXPECT_EQ(before, "odd");
    EXPECT_EQ(now, "odd");
    before = now;
    for (int turn = 2; turn <= 100001; ++turn, before = now) {
        now = Url(item, 0, 0, 0);
        ASSERT_NE(now, before) << "turn " << turn;
    }
    EXPECT_EQ(Url(item, 0, 0, 0), "odd");
}

TEST(GetURL, PutsTheServerFirstWhereverItStood)
{
    KxTSDParamItem item;
    Load(item, "{$x}/{$serverpart}/{$y}/{$z}", 10, 1, 0, "srv");
    // The server fills the first conversion, the numbers what is left.
    EXPECT_EQ(Url(item, 3, 2, 1), "srv/1/2/3");
}

TEST(GetURL, TurnsRowsUnlessTheServiceCountsFromTheSouth)
{
    KxTSDParamItem north;
    Load(north, "{$z}/{$x}/{$y}", 0, 0);
    EXPECT_EQ(Url(north, 3, 0, 2), "3/2/7");
    KxTSDParamItem south;
    Load(south, "{$z}/{$x}/{$y}", 0, 1);
    EXPECT_EQ(Url(south, 3, 0, 2), "3/2/0");
}

TEST(GetURL, RewritesThreeQuarterRowsWhateverTheDirection)
{
    for (const int scheme : {5, 14})
        for (const int southToNorth : {0, 1}) {
            KxTSDParamItem item;
            Load(item, "{$z}/{$x}/{$y}", scheme, southToNorth);
            EXPECT_EQ(Url(item, 2, 0, 1), "2/1/2");
            EXPECT_EQ(Url(item, 2, 3, 1), "2/1/-1");
            EXPECT_EQ(Url(item, 0, 0, 0), "0/0/0") << "1 x 0.75 - 1 truncates toward zero";
        }
}

TEST(GetURL, MarksNegativeBaiduNumbers)
{
    KxTSDParamItem item;
    Load(item, "?x={$x}&y={$y}&z={$z}", 4, 1);
    EXPECT_EQ(Url(item, 5, 3, -5), "?x=M5&y=3&z=5");
    EXPECT_EQ(Url(item, 5, -7, -5), "?x=M5&y=M7&z=5");
    EXPECT_EQ(Url(item, 5, 7, 5), "?x=5&y=7&z=5") << "the record keeps its template";
    KxTSDParamItem other;
    Load(other, "?x={$x}&y={$y}&z={$z}", 13, 1);
    EXPECT_EQ(Url(other, 5, -7, -5), "?x=-5&y=-7&z=5") << "only scheme 4 writes an M";
}

TEST(GetURL, AddsTheLevelOffsetToTheLevelOnly)
{
    KxTSDParamItem item;
    Load(item, "{$x}/{$y}/{$z}", 10, 0, 1);
    EXPECT_EQ(item.m_nAxisOrder, 1);
    EXPECT_EQ(Url(item, 3, 0, 2), "2/7/4") << "rows turn in the requested level's grid";
}

TEST(GetURL, FillsEveryAxisOrder)
{
    const char* const expected[] = {"3/1/5", "1/5/3", "3/5/1", "1/3/5", "5/1/3", "5/3/1"};
    KxTSDParamItem item;
    Load(item, "{$z}/{$x}/{$y}", 10, 1);
    for (int order = 0; order < 6; ++order) {
        item.m_nAxisOrder = order;
        EXPECT_EQ(Url(item, 3, 5, 1), expected[order]) << "order " << order;
    }
    for (const int order : {-1, 6, 1000}) {
        item.m_nAxisOrder = order;
        EXPECT_EQ(Url(item, 3, 5, 1), expected[0]);
    }
}

TEST(GetURL, AsksBingByQuadkeyWithoutLevelOffset)
{
    KxTSDParamItem item;
    Load(item, "http://{$serverpart}/a%s?x={$x}", 6, 0, 5, "t0");
    // Row 2 from the south of 8 is row 5 from the north. What the template asks for beyond the
    // server and the quadkey finds nothing.
    EXPECT_EQ(Url(item, 3, 2, 3), "http://t0/a213?x=%d");
    KxTSDParamItem south;
    Load(south, "/%s", 6, 1);
    EXPECT_EQ(Url(south, 3, 5, 3), "/213");
}

TEST(GetURL, AsksForHistoryImageryWithItsVersion)
{
    KxTSDParamItem item;
    Load(item, "http://h/%d%s/flatfile?db=tm", 8, 0, 5);
    item.m_strVersion = "42%d";
    EXPECT_EQ(Url(item, 4, 3, 2), "http://h/%d%s/flatfile?db=tm&type=image&x=2&y=3&z=4&v=42%d");
}

TEST(GetURL, HandsTheRequestedLevelToTheScript)
{
    KxTSDParamItem item;
    Load(item, "{$z}", 10, 0, 5);
    item.m_bLuaScripted = 1;
    item.m_luaToolkit.LoadFromString(
        "function GetTileURL(level, row, col) return level .. '|' .. row .. '|' .. col end");
    EXPECT_EQ(Url(item, 3, 0, 2), "3|7|2");
    item.m_nTileScheme = 5;
    EXPECT_EQ(Url(item, 2, 0, 1), "2|2|1");
    item.m_nTileScheme = 6;
    EXPECT_EQ(Url(item, 3, 2, 3), "3|5|3");
    item.m_nTileScheme = 4;
    EXPECT_EQ(Url(item, 3, 0, -2), "3|7|-2") << "a script sees the plain number";
}

TEST(GetURL, TakesHostileTemplatesAsText)
{
    KxTSDParamItem item;
    Load(item, "%n%n%s%s%s%s{$x}%20%99999999d", 10, 1);
    EXPECT_EQ(Url(item, 1, 1, 0), "%n%n110%s%d%20%99999999d");
}

TEST(GetURL, SurvivesEveryLevelAndRow)
{
    KxTSDParamItem item;
    Load(item, "{$z}/{$x}/{$y}", 10, 0, std::numeric_limits<int>::max());
    EXPECT_EQ(Url(item, 32, 0, 0), "-2147483617/0/0") << "levels count modulo 32 in the shift";
    EXPECT_EQ(Url(item, 31, std::numeric_limits<int>::min(), 0), "-2147483618/0/-1");
    Load(item, "{$x}{$y}{$z}", 14);
    EXPECT_EQ(Url(item, 31, std::numeric_limits<int>::max(), 0).substr(0, 1), "0");
    KxTSDParamItem baidu;
    Load(baidu, "x={$x}y={$y}", 4, 1);
    EXPECT_EQ(Url(baidu, 0, 0, std::numeric_limits<int>::min()), "x=M0y=-2147483648")
        << "without a level placeholder the level comes first";
}

TEST(GetURL, AnswersNothingForNoSource)
{
    EXPECT_EQ(KxTileFetcher::GetURL(nullptr, 1, 0, 0).GetLength(), 0);
}

TEST(BuildTileUrl, LeavesGivenRowsAloneButForTheSchemesOwnRule)
{
    KxTSDParamItem item;
    Load(item, "{$z}/{$x}/{$y}", 10, 0);
    EXPECT_STREQ(BuildTileUrl(item, {3, 2, 1}, RowRule::AsGiven).Cstr(), "3/1/2");
    EXPECT_EQ(item.m_nSouthToNorth, 0);
    item.m_nTileScheme = 5;
    EXPECT_STREQ(BuildTileUrl(item, {3, 2, 1}, RowRule::AsGiven).Cstr(), "3/1/3");
    KxTSDParamItem bing;
    Load(bing, "%s", 6, 0);
    EXPECT_STREQ(BuildTileUrl(bing, {3, 5, 3}, RowRule::AsGiven).Cstr(), "213");
}

} // namespace
} // namespace KxC
