// SPDX-License-Identifier: MIT
#include "RecordOnDisk.h"

#include <gmock/gmock.h>

namespace KxC {
namespace {

using test::LoadedRecord;
using ::testing::AnyOf;
using ::testing::HasSubstr;

LoadedRecord Record(const std::string& url, const std::string& more = "scheme = 10\n")
{
    return LoadedRecord(more + "url = '" + url + "'");
}

struct Spelling
{
    const char* url;
    const char* expected; ///< of level 3, column 6, row 5 from the north: 2 from the south
};

class Spellings : public ::testing::TestWithParam<Spelling>
{
};

TEST_P(Spellings, GiveTheAddressOfTheirProgram)
{
    LoadedRecord record = Record(GetParam().url);
    EXPECT_EQ(record.UrlFromNorth(3, 5, 6), GetParam().expected);
    EXPECT_EQ(record.messages, "");
}

INSTANTIATE_TEST_SUITE_P(
    Placeholders,
    Spellings,
    ::testing::Values(Spelling{"http://a/{z}/{x}/{y}.png", "http://a/3/6/5.png"},
                      Spelling{"http://a/{zoom}/{x}/{-y}.png", "http://a/3/6/2.png"},
                      Spelling{"http://a/{TileMatrix}/{TileRow}/{TileCol}", "http://a/3/5/6"},
                      Spelling{"http://a/tile/{level}/{row}/{col}", "http://a/tile/3/5/6"},
                      Spelling{"http://a/?z={z+1}&x={x}&y={y}", "http://a/?z=4&x=6&y=5"},
                      Spelling{"http://a/?z={zoom-1}&x={x}&y={y}", "http://a/?z=2&x=6&y=5"},
                      // x = 110 and y = 101 in binary: 1 + 2, 1, 2.
                      Spelling{"http://a/{z}/{q}", "http://a/3/312"},
                      // What the printf form cannot express.
                      Spelling{"http://a/{z}/{x}/{z}/{x}/{y}/{y}.png", "http://a/3/6/3/6/5/5.png"},
                      Spelling{"http://a/{z}/{x}/{y}/{-y}", "http://a/3/6/5/2"},
                      Spelling{"http://a/{z}/{z+1}/{x}/{y}", "http://a/3/4/6/5"},
                      Spelling{"http://a/{z}/{x}/{y}?q=%20%s%d\"\\]]--&{x}",
                               "http://a/3/6/5?q=%20%s%d\"\\]]--&6"},
                      Spelling{"http://a/{z}/{x}/{y}?{x}=图", "http://a/3/6/5?6=图"}));

TEST(Placeholders, QuadkeysFollowTheRecordsScheme)
{
    EXPECT_EQ(Record("http://a/{q}", "scheme = 'BingMap'\n").UrlFromNorth(3, 5, 6), "http://a/312");
    EXPECT_EQ(Record("http://a/{q}/{z}", "scheme = 'BingMap'\n").UrlFromNorth(3, 5, 6),
              "http://a/312/3");
    EXPECT_EQ(Record("http://a/{q}/{y}", "scheme = 10\nrows = '1'\n").UrlFromNorth(3, 5, 6),
              "http://a/312/2");
}

TEST(Placeholders, QuadkeysAloneSayTheScheme)
{
    for (const char* url : {"http://a/{q}", "http://a/{quadkey}"}) {
        LoadedRecord record = Record(url, "");
        EXPECT_EQ(record.UrlFromNorth(3, 5, 6), "http://a/312");
        EXPECT_EQ(record.messages, "");
    }
}

TEST(Placeholders, ChoicesBecomeServers)
{
    for (const auto* range : {"{a-c}", "{switch:a,b,c}"}) {
        LoadedRecord record = Record("http://" + std::string(range) + ".t/{z}/{x}/{y}");
        EXPECT_EQ(record.messages, "");
        ASSERT_EQ(record.Item().m_arrServerParts.GetSize(), 3) << range;
        EXPECT_STREQ(record.Item().m_arrServerParts[2].Cstr(), "c");
        EXPECT_THAT(record.UrlFromNorth(3, 5, 6),
                    AnyOf("http://a.t/3/6/5", "http://b.t/3/6/5", "http://c.t/3/6/5"));
    }
    EXPECT_EQ(Record("http://t{0-3}/{z}/{x}/{y}").Item().m_arrServerParts.GetSize(), 4);
    EXPECT_EQ(Record("http://t{9-12}/{z}/{x}/{y}").Item().m_arrServerParts.GetSize(), 4);
}

TEST(Placeholders, ServersOfTheKeyTakeThePlaceOfTheirShortName)
{
    LoadedRecord record = Record("http://{s}.t/{z}/{x}/{y}", "scheme = 10\nservers = 'a,b'\n");
    EXPECT_EQ(record.messages, "");
    EXPECT_THAT(record.UrlFromNorth(3, 5, 6), AnyOf("http://a.t/3/6/5", "http://b.t/3/6/5"));
}

TEST(Placeholders, AServerBehindTheNumbersGoesByTheTile)
{
    LoadedRecord record =
        Record("http://t/{z}/{x}/{y}?s={s}", "scheme = 10\nservers = ['a', 'b', 'c']\n");
    EXPECT_EQ(record.messages, "");
    // Neighbours ask different servers, one tile always the same.
    const std::string first = record.UrlFromNorth(3, 5, 6);
    EXPECT_THAT(first, AnyOf("http://t/3/6/5?s=a", "http://t/3/6/5?s=b", "http://t/3/6/5?s=c"));
    EXPECT_EQ(record.UrlFromNorth(3, 5, 6), first);
    EXPECT_NE(record.UrlFromNorth(3, 5, 7).back(), first.back());
    EXPECT_NE(record.UrlFromNorth(3, 5, 7).back(), record.UrlFromNorth(3, 5, 5).back());
}

TEST(Placeholders, TheLevelOffsetHoldsInMadeScriptsToo)
{
    EXPECT_EQ(Record("http://a/{z}/{x}/{y}", "scheme = 10\nlevel_offset = -1\n").Url(3, 2, 6),
              "http://a/2/6/5");
    EXPECT_EQ(Record("http://a/{z}/{x}/{y}/{x}", "scheme = 10\nlevel_offset = -1\n").Url(3, 2, 6),
              "http://a/2/6/5/6");
    EXPECT_EQ(Record("http://a/{z+2}/{x}/{y}", "scheme = 10\nlevel_offset = -1\n").Url(3, 2, 6),
              "http://a/4/6/5");
}

TEST(Placeholders, RowsFromTheSouthInAGridOfHalfAsManyRows)
{
    // Level 3: 8 columns, 4 rows from pole to pole; row 1 from the north is 2 from the south.
    EXPECT_EQ(Record("http://a/{z}/{x}/{-y}", "scheme = 5\n").UrlFromPole(3, 1, 6),
              "http://a/3/6/2");
    EXPECT_EQ(Record("http://a/{z}/{x}/{y}", "scheme = 5\n").UrlFromPole(3, 1, 6),
              "http://a/3/6/1");
}

TEST(Placeholders, AScriptOfTheDefinitionGoesBefore)
{
    LoadedRecord record = Record("http://a/{z}/{z}/{x}/{y}",
                                 "scheme = 10\n"
                                 "script = 'function GetTileURL(l, r, c) return \"own\" end'\n");
    EXPECT_EQ(record.messages, "");
    EXPECT_EQ(record.UrlFromNorth(3, 5, 6), "own");
}

TEST(Placeholders, AnAddressOfAScriptNamesItsCache)
{
    LoadedRecord record = Record("http://tiles.test/{z}/{z}/{x}/{y}");
    EXPECT_THAT(record.Item().m_strHashKey.Cstr(), ::testing::StartsWith("tiles.test"));
    EXPECT_STRNE(record.Item().m_strHashKey.Cstr(),
                 Record("http://tiles.test/{z}/{z}/{y}/{x}").Item().m_strHashKey.Cstr());
}

TEST(Placeholders, OnlyOneSpellingOfTheServerIsReplaced)
{
    LoadedRecord record =
        Record("http://{$serverpart}/{$Serverpart}/{$z}/{$x}/{$y}", "scheme = 10\nservers = 'a'\n");
    EXPECT_STREQ(record.Item().m_strUrlTemplate.Cstr(), "http://%s/{$Serverpart}/%d/%d/%d");
    EXPECT_EQ(record.UrlFromNorth(3, 5, 6), "http://a/{$Serverpart}/3/6/5");
}

TEST(Placeholders, AreBoundedInNumberAndLength)
{
    std::string many = "http://a/{z}/{x}/{y}";
    for (int i = 0; i < 62; ++i)
        many += "{x}";
    EXPECT_THAT(Record(many).messages, HasSubstr("more than 64 placeholders"));
    many.resize(many.size() - 3);
    EXPECT_EQ(Record(many).messages, "");
    EXPECT_EQ(Record(many).UrlFromNorth(3, 5, 6).substr(0, 16), "http://a/3/6/566");
    EXPECT_THAT(Record("http://a/{z}/{x}/{y}" + std::string(8192, 'a')).messages,
                HasSubstr("longer than 8 KiB"));
    EXPECT_EQ(Record("http://a/{z}/{x}/{y}?" + std::string(5000, '{')).messages, "");
}

} // namespace
} // namespace KxC
