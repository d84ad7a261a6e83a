// SPDX-License-Identifier: MIT
#include "ImageChoice.h"

#include "EarthServer.h"
#include "View.h"

#include <gtest/gtest.h>

#include <optional>

namespace KxC::EarthTest {
namespace {

using namespace Earth;

/// The first request for a tile of the published packet; empty when there is none.
std::string UrlAt(const char* digits, const KxTime& wanted)
{
    const std::string bytes = FromHex(kSampleProtobufRoot);
    const QuadPacket packet = ReadProtobufPacket(View(bytes));
    const QuadPath tile = TileOf(digits);
    const ChosenImage chosen = ChooseDated(packet.Find(SubIndex::Of(tile)), KeyOfDate(wanted));
    return chosen.m_refs.empty() ? ""
                                 : EarthServer::At("http://h").ImageUrl(chosen.m_refs[0], tile);
}

TEST(ChooseDated, AsksAsThePublishedSessionDoes)
{
    EXPECT_EQ(UrlAt("2", {2010, 6, 1}), "http://h/flatfile?db=tm&f1-02-i.10-fb097");
    EXPECT_EQ(UrlAt("2", {2021, 1, 1}), "http://h/flatfile?f1-02-i.4");
    EXPECT_EQ(UrlAt("2", {2025, 1, 1}), "http://h/flatfile?db=tm&f1-02-i.361-fd19f");
    EXPECT_EQ(UrlAt("2", {2000, 1, 1}), "");
    EXPECT_EQ(UrlAt("21", {2000, 1, 1}), "http://h/flatfile?f1-021-i.5");
}

constexpr DateKey kOld = 1027483;
constexpr DateKey kNew = 1036703;

QuadNode HistoryNode()
{
    QuadNode node;
    node.m_hasHistory = true;
    return node;
}

TEST(ChooseDated, TakesTheVeryDayToo)
{
    QuadNode node = HistoryNode();
    node.m_dated = {{kNew, 3, 1}, {kOld, 2, 1}};
    EXPECT_EQ(ChooseDated(&node, kNew).m_refs[0], (ImageRef{Database::History, 3, kNew}));
    EXPECT_EQ(ChooseDated(&node, kNew - 1).m_refs[0], (ImageRef{Database::History, 2, kOld}));
    EXPECT_EQ(ChooseDated(&node, kOld).m_refs[0], (ImageRef{Database::History, 2, kOld}));
    EXPECT_EQ(ChooseDated(&node, kOld - 1).m_choice, Choice::Nothing);
}

TEST(ChooseDated, TriesOtherVersionsOfTheNodeAfterItsOwn)
{
    QuadNode node = HistoryNode();
    node.m_dated = {{kNew, 3, 1},
                    {kNew - 1, 3, 1},
                    {kOld, 2, 1},
                    {kOld - 1, 4, 1},
                    {kOld - 2, 5, 1},
                    {kOld - 3, 6, 1}};
    const std::vector<ImageRef> refs = ChooseDated(&node, kOld).m_refs;
    EXPECT_EQ(refs,
              (std::vector<ImageRef>{{Database::History, 2, kOld},
                                     {Database::History, 3, kOld},
                                     {Database::History, 4, kOld},
                                     {Database::History, 5, kOld}}));
}

TEST(ChooseDated, LeavesOutSharedDaysWithoutCurrentImagery)
{
    QuadNode node = HistoryNode();
    node.m_dated = {{kNew, 3, 0}, {kOld, 2, 1}};
    EXPECT_EQ(ChooseDated(&node, kNew).m_refs[0].m_date, kOld);
    EXPECT_EQ(DaysOf(node), std::vector<DateKey>{kOld});
    node.m_hasImage = true;
    EXPECT_EQ(ChooseDated(&node, kNew).m_refs,
              (std::vector<ImageRef>{{Database::Current, 1, kNew}}));
    EXPECT_EQ(DaysOf(node), (std::vector<DateKey>{kNew, kOld}));
}

TEST(ChooseDated, LooksHigherForADayThatOnlyCoarserLevelsHave)
{
    QuadNode node = HistoryNode();
    node.m_dated = {{kNew, 3, 1}};
    node.m_coarseDates = {kOld};
    EXPECT_EQ(ChooseDated(&node, kOld).m_choice, Choice::Coarser);
    EXPECT_EQ(ChooseDated(&node, kOld - 1).m_choice, Choice::Nothing);
    EXPECT_EQ(ChooseDated(&node, kNew).m_choice, Choice::Image);
}

TEST(ChooseDated, LooksHigherWhereTheNodeIsMissingOrBare)
{
    EXPECT_EQ(ChooseDated(nullptr, kNew).m_choice, Choice::Coarser);
    const QuadNode bare;
    EXPECT_EQ(ChooseDated(&bare, kNew).m_choice, Choice::Coarser);
}

TEST(ChooseCurrent, TakesVersion1WhereNoneIsGiven)
{
    QuadNode node;
    EXPECT_EQ(ChooseCurrent(&node).m_choice, Choice::Coarser);
    node.m_hasImage = true;
    EXPECT_EQ(ChooseCurrent(&node).m_refs[0], (ImageRef{Database::Current, 1, 0}));
    node.m_imageVersion = 7;
    EXPECT_EQ(ChooseCurrent(&node).m_refs[0], (ImageRef{Database::Current, 7, 0}));
    EXPECT_EQ(ChooseCurrent(nullptr).m_choice, Choice::Coarser);
}

TEST(DaysOf, ListsADayOnce)
{
    QuadNode node = HistoryNode();
    node.m_dated = {{kNew, 3, 1}, {kNew, 4, 2}, {kOld, 2, 1}};
    EXPECT_EQ(DaysOf(node), (std::vector<DateKey>{kNew, kOld}));
}

TEST(EarthServer, JoinsAddressesWithTheirPathAndQuery)
{
    const QuadPath root;
    const auto packet = [&](const char* base) {
        return EarthServer::At(base).PacketUrl(Database::Current, root, 5);
    };
    EXPECT_EQ(packet("http://h"), "http://h/flatfile?q2-0-q.5");
    EXPECT_EQ(packet("http://h/a/b//"), "http://h/a/b/flatfile?q2-0-q.5");
    EXPECT_EQ(packet("http://h/a?k=1&l=2"), "http://h/a/flatfile?k=1&l=2&q2-0-q.5");
    EXPECT_EQ(packet("http://h/a/?"), "http://h/a/flatfile?q2-0-q.5");
    EXPECT_EQ(EarthServer::At("http://h").PacketUrl(Database::History, TileOf("213"), 42),
              "http://h/flatfile?db=tm&qp-0213-q.42");
    EXPECT_EQ(EarthServer::At("http://h").RootUrl(Database::History),
              "http://h/dbRoot.v5?db=tm&hl=en&gl=us&output=proto");
    EXPECT_EQ(EarthServer::At("http://h?k=1").RootUrl(Database::Current),
              "http://h/dbRoot.v5?k=1&hl=en&gl=us&output=proto");
}

TEST(EarthServer, FollowsNoNamedServerFromHttpsDownToHttp)
{
    EarthServer server = EarthServer::At("https://h");
    EXPECT_FALSE(server.NameHistory("http://other"));
    EXPECT_TRUE(server.NameHistory("https://Other:8443/path/?db=tm&k=1"));
    EXPECT_EQ(server.RootUrl(Database::History),
              "https://Other:8443/path/dbRoot.v5?k=1&db=tm&hl=en&gl=us&output=proto");
    EXPECT_EQ(server.RootUrl(Database::Current), "https://h/dbRoot.v5?hl=en&gl=us&output=proto");
    EXPECT_FALSE(EarthServer::Public().NameHistory("https://other"));
}

TEST(EarthServer, WritesDaysInHexadecimal)
{
    const QuadPath tile = TileOf("2");
    EXPECT_EQ(EarthServer::At("http://h").ImageUrl({Database::History, 1, 0xFD574}, tile),
              "http://h/flatfile?db=tm&f1-02-i.1-fd574");
}

} // namespace
} // namespace KxC::EarthTest
