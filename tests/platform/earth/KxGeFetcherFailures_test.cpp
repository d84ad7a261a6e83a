// SPDX-License-Identifier: MIT
#include "FakeEarth.h"

#include <cstdlib>

namespace KxC::EarthTest {
namespace {

using Strings = std::vector<std::string>;

class KxGeFetcherFailures : public EarthTest
{
protected:
    KxGeFetcherFailures()
    {
        m_earth.PutPacket("q2-0-q.5", BinaryPacket({{0x44, 0, 1}, {0x40, 0, 4}}));
        m_earth.PutImage("f1-0-i.1", Picture(1));
        m_earth.PutImage("f1-02-i.4", Picture(2));
    }

    /// A fetch that fails, and says why in these words.
    void ExpectFailure(const std::string& words)
    {
        const Delivered tile = FetchCurrent("2");
        EXPECT_EQ(tile.result, NetError_Failure);
        EXPECT_EQ(tile.info.m_result, NetError_Failure);
        EXPECT_EQ(tile.bytes, "");
        EXPECT_NE(std::string(tile.info.m_strCause.Cstr()).find(words), std::string::npos)
            << tile.info.m_strCause.Cstr();
    }

    void ExpectSuccess() { EXPECT_EQ(FetchCurrent("2").bytes, Picture(2)); }
};

TEST_F(KxGeFetcherFailures, DoesNotRememberAFailedRoot)
{
    for (const int status : {500, 403, 404}) {
        m_earth.PutStatus("root", status);
        ExpectFailure("dbRoot.v5");
        EXPECT_EQ(m_earth.TakeQueries(), Strings{"root"}) << "one request each time";
    }
    m_earth.Put("root", "");
    ExpectFailure("no such database");
    m_earth.PutRoots(5, 900);
    ExpectSuccess();
}

TEST_F(KxGeFetcherFailures, DoesNotRememberADamagedRoot)
{
    m_earth.Put("root", DbRootAnswer(m_earth.CurrentKey(), 5).substr(0, 50));
    ExpectFailure("longer than its message");
    ExpectFailure("/earth/dbRoot.v5?hl=en&gl=us&output=proto: ");
    m_earth.PutRoots(5, 900);
    ExpectSuccess();
}

TEST_F(KxGeFetcherFailures, DoesNotRememberADamagedPacket)
{
    const std::string good = Compress(BinaryPacket({{0x44, 0, 1}, {0x40, 0, 4}}));
    for (const std::string& bad : {good.substr(0, good.size() - 3),
                                   std::string("<html>no packet</html>"),
                                   CompressStating("abc", 4),
                                   Compress(BinaryPacket({{0x44, 0, 1}}))}) {
        m_earth.Put("q2-0-q.5", Encrypt(bad, m_earth.CurrentKey()));
        ExpectFailure("packet");
        ExpectFailure("/earth/flatfile?q2-0-q.5: ");
        EXPECT_EQ(m_earth.TakeQueries().back(), "root") << "it may have been replaced";
    }
    m_earth.Put("q2-0-q.5", Encrypt(good, m_earth.CurrentKey()));
    ExpectSuccess();
}

TEST_F(KxGeFetcherFailures, FailsWhereAPacketCannotBeHad)
{
    m_earth.PutStatus("q2-0-q.5", 500);
    ExpectFailure("q2-0-q.5");
    m_earth.PutStatus("q2-0-q.5", 404);
    ExpectFailure("no uppermost quadtree packet");
    m_earth.PutStatus("q2-0-q.5", 200);
    // What was missing of the uppermost packet's version is asked for again by a later version.
    m_earth.PutPacket("q2-0-q.6", BinaryPacket({{0x44, 0, 1}, {0x40, 0, 4}}));
    m_earth.PutRoots(6, 900);
    ExpectSuccess();
}

TEST_F(KxGeFetcherFailures, FailsForAnImageThatIsNone)
{
    m_earth.Put("f1-02-i.4", "<html>no image</html>");
    ExpectFailure("f1-02-i.4: the answer is no image");
    m_earth.PutStatus("f1-02-i.4", 403);
    ExpectFailure("status 403");
    m_earth.PutImage("f1-02-i.4", Picture(2));
    ExpectSuccess();
}

TEST_F(KxGeFetcherFailures, FailsWhereTheImageToBeCutIsNotWhole)
{
    m_earth.PutImage("f1-02-i.4", Picture(2).substr(0, 50));
    EXPECT_EQ(FetchCurrent("20").result, NetError_Failure);
    m_earth.PutImage("f1-02-i.4", Picture(2));
    EXPECT_EQ(FetchCurrent("20").result, NetError_Success);
}

TEST_F(KxGeFetcherFailures, FollowsADatabaseThatWasReplaced)
{
    ExpectSuccess();
    m_earth.ChangeCurrentKey("a key that came overnight, 40 bytes long");
    m_earth.PutRoots(6, 900);
    m_earth.PutStatus("q2-0-q.5", 404);
    m_earth.PutPacket("q2-0-q.6", BinaryPacket({{0x44, 0, 1}, {0x40, 0, 5}}));
    m_earth.PutImage("f1-02-i.5", Picture(3));
    m_earth.PutImage("f1-02-i.4", Picture(2));
    m_earth.TakeQueries();
    EXPECT_EQ(FetchCurrent("2").bytes, Picture(3));
    EXPECT_EQ(m_earth.TakeQueries(),
              (Strings{"f1-02-i.4", "root-tm", "root", "root-tm", "q2-0-q.6", "f1-02-i.5"}));
}

TEST_F(KxGeFetcherFailures, FailsOnceTheServerIsGone)
{
    KxGeFetcher::SetServer("http://127.0.0.1:1/nobody");
    ExpectFailure("http://127.0.0.1:1/nobody/dbRoot.v5");
    KxGeFetcher::SetServer("no address");
    ExpectFailure("neither http:// nor https://");
}

TEST_F(KxGeFetcherFailures, WaitsNoLongerThanItIsTold)
{
    m_earth.Hold("q2-0-q.5");
    KxGeFetcher::SetTimeout(50);
    ExpectFailure("q2-0-q.5");
    KxGeFetcher::SetTimeout(0);
}

TEST_F(KxGeFetcherFailures, BoundsWhatACauseQuotes)
{
    KxGeFetcher::SetServer(("ftp://" + std::string(100000, 'x')).c_str());
    EXPECT_EQ(FetchCurrent("2").info.m_strCause.GetLength(), 1000);
}

TEST_F(KxGeFetcherFailures, TakesTheServerFromTheEnvironment)
{
    KxGeFetcher::SetServer("");
    ::setenv("KXTILE_EARTH_URL", m_earth.Url().c_str(), 1); // NOLINT(concurrency-mt-unsafe)
    ExpectSuccess();
    KxGeFetcher::SetServer("http://127.0.0.1:1/set");
    ExpectFailure("127.0.0.1:1/set");
    ::unsetenv("KXTILE_EARTH_URL"); // NOLINT(concurrency-mt-unsafe)
}

TEST_F(KxGeFetcherFailures, ForgetsTheFormerServer)
{
    ExpectSuccess();
    m_earth.TakeQueries();
    KxGeFetcher::SetServer(m_earth.Url().c_str());
    ExpectSuccess();
    EXPECT_EQ(m_earth.TakeQueries().size(), 3U);
}

TEST_F(KxGeFetcherFailures, EndsWithAServerThatPromisesPacketsForEver)
{
    // Each packet's one leaf has a further packet, down to where addresses end.
    std::string path;
    m_earth.PutPacket("q2-0-q.5", BinaryPacket({{4}, {1}, {1}, {0x50, 1, 1}}));
    for (path = "0200"; path.size() < 40; path += "0000")
        m_earth.PutPacket("q2-" + path + "-q.1", BinaryPacket({{1}, {1}, {1}, {1}, {0x10, 1, 0}}));
    EXPECT_EQ(FetchCurrent("2" + std::string(29, '0')).result, NetError_NoData);
    EXPECT_EQ(m_earth.TakeQueries().size(), 1U + 8U);
}

} // namespace
} // namespace KxC::EarthTest
