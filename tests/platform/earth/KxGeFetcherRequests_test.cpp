// SPDX-License-Identifier: MIT
#include "FakeEarth.h"
#include "KxContainers.h"

namespace KxC::EarthTest {
namespace {

using Strings = std::vector<std::string>;

constexpr std::uint32_t kDay = 2008 << 9 | 4 << 5 | 23;
constexpr char kDayImage[] = "db=tm&f1-02-i.10-fb097"; // of that day

/// The node "2", with a picture of one day.
void PutHistory(FakeEarth& earth, unsigned char mark)
{
    earth.PutPacket("db=tm&qp-0-q.900",
                    ProtobufPacket({{3, {.imageVersion = 4, .days = {{kDay, 10, 7}}}}}));
    earth.PutImage(kDayImage, Picture(mark));
}

/// A server, and another that has history imagery.
class KxGeFetcherNamedServer : public EarthTest
{
protected:
    KxGeFetcherNamedServer()
    {
        m_other.PutRoots(5, 900);
        PutHistory(m_other, 2);
        m_earth.PutStatus("root-tm", 404);
        m_earth.PutRootNaming(m_other.Url() + "/?db=tm");
    }

    Delivered FetchDay() { return FetchDated("2", {2010, 1, 1}); }

    FakeEarth m_other;
};

TEST_F(KxGeFetcherNamedServer, IsAskedForHistoryImagery)
{
    const Delivered tile = FetchDay();
    EXPECT_EQ(tile.bytes, Picture(2)) << tile.info.m_strCause.Cstr();
    EXPECT_EQ(m_earth.TakeQueries(), (Strings{"root-tm", "root"}));
    EXPECT_EQ(m_other.TakeQueries(), (Strings{"root-tm", "db=tm&qp-0-q.900", kDayImage}));
    FetchDay();
    EXPECT_EQ(m_earth.TakeQueries(), Strings{}) << "what was told is kept";
    EXPECT_EQ(m_other.TakeQueries(), Strings{kDayImage});
}

TEST_F(KxGeFetcherNamedServer, MayBeNamedByTheHistoryDatabaseToo)
{
    m_earth.Put("root-tm", DbRootAnswer(m_earth.HistoryKey(), 900, m_other.Url()));
    EXPECT_EQ(FetchDay().bytes, Picture(2));
    EXPECT_EQ(m_earth.TakeQueries(), Strings{"root-tm"});
}

TEST_F(KxGeFetcherNamedServer, IsNotAskedWhereTheServerItselfHasTheDatabase)
{
    m_earth.PutRoots(5, 900);
    m_earth.PutRootNaming(m_other.Url());
    PutHistory(m_earth, 1);
    EXPECT_EQ(FetchDay().bytes, Picture(1));
    m_earth.Put("root-tm", DbRootAnswer(m_earth.HistoryKey(), 900, m_earth.Url() + "/?db=tm"));
    KxGeFetcher::SetServer(m_earth.Url().c_str());
    EXPECT_EQ(FetchDay().bytes, Picture(1)) << "it names itself";
    EXPECT_EQ(m_other.TakeQueries(), Strings{});
}

TEST_F(KxGeFetcherNamedServer, NamesNoFurtherOne)
{
    FakeEarth third;
    m_other.Put("root-tm", DbRootAnswer(m_other.HistoryKey(), 900, third.Url()));
    EXPECT_EQ(FetchDay().bytes, Picture(2));
    EXPECT_EQ(third.TakeQueries(), Strings{});
}

TEST_F(KxGeFetcherNamedServer, HasToBeAWebAddress)
{
    for (const std::string& address : {std::string("ftp://127.0.0.1/"),
                                       std::string("file:///etc/passwd"),
                                       std::string("127.0.0.1"),
                                       m_other.Url() + "/ x",
                                       m_other.Url() + "/\r\nX: y",
                                       m_other.Url() + "/" + std::string(4000, 'x')}) {
        m_earth.PutRootNaming(address);
        KxGeFetcher::SetServer(m_earth.Url().c_str());
        const Delivered tile = FetchDay();
        EXPECT_EQ(tile.result, NetError_Failure) << address;
        EXPECT_NE(std::string(tile.info.m_strCause.Cstr()).find("no such database"),
                  std::string::npos);
    }
    EXPECT_EQ(m_other.TakeQueries(), Strings{});
}

TEST_F(KxGeFetcherNamedServer, IsToldAnewWhenItsAnswersMakeNoSense)
{
    FetchDay();
    FakeEarth moved;
    moved.PutRoots(5, 900);
    PutHistory(moved, 3);
    m_earth.PutRootNaming(moved.Url());
    m_other.Put(kDayImage, "<html>gone</html>");
    EXPECT_EQ(FetchDay().bytes, Picture(3));
}

TEST_F(KxGeFetcherNamedServer, GetsNoHeaderLinesOnAnotherHost)
{
    const KxString agent("Surveyor/2");
    KxArray<KxString> lines;
    lines.Add("X-Key: 17");
    KxGeFetcher fetcher;
    fetcher.SetHistroyDataUsed(1);
    fetcher.SetRequest(&agent, &lines);
    EXPECT_EQ(Fetch(fetcher, "2").bytes, Picture(2));
    EXPECT_EQ(m_earth.LastHeader("X-Key"), "17");
    EXPECT_EQ(m_earth.LastHeader("User-Agent"), "Surveyor/2");
    EXPECT_EQ(m_other.LastHeader("X-Key"), "") << "its port is another";
    EXPECT_EQ(m_other.LastHeader("User-Agent"), "Surveyor/2");
}

using KxGeFetcherTexts = EarthTest;

TEST_F(KxGeFetcherTexts, SendsTheUserAgentAndHeaderLinesOfTheFetcher)
{
    KxString agent("Surveyor/2");
    KxArray<KxString> lines;
    KxGeFetcher fetcher;
    fetcher.SetRequest(&agent, &lines);
    Fetch(fetcher, "");
    EXPECT_EQ(m_earth.LastHeader("User-Agent"), "Surveyor/2");
    agent = "";
    lines.Add("X-Key: 18");
    Fetch(fetcher, "");
    EXPECT_EQ(m_earth.LastHeader("X-Key"), "18") << "both are read with each fetch";
    EXPECT_EQ(m_earth.LastHeader("User-Agent").find("KxTile/"), 0U);
}

} // namespace
} // namespace KxC::EarthTest
