// SPDX-License-Identifier: MIT
#include "integration/OriginTest.h"
#include "platform/net/NetTest.h"

#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace KxC::Testing {

using ::testing::HasSubstr;

namespace {

constexpr const char* kTile = "/xyz/graticule/3/2/1.png";

/// A client that asks and does not read; it goes away with the object.
class SilentClient
{
public:
    SilentClient(const std::string& address, const std::string& path)
        : m_socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_in server{};
        server.sin_family = AF_INET;
        server.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        server.sin_port =
            htons(static_cast<std::uint16_t>(std::stoi(address.substr(address.rfind(':') + 1))));
        const std::string request = "GET " + path + " HTTP/1.1\r\nHost: a\r\n\r\n";
        if (::connect(m_socket, reinterpret_cast<sockaddr*>(&server), sizeof(server)) != 0 ||
            ::send(m_socket, request.data(), request.size(), MSG_NOSIGNAL) < 0)
            throw std::runtime_error("kxorigin takes no request");
    }
    ~SilentClient() { ::close(m_socket); }
    SilentClient(const SilentClient&) = delete;
    SilentClient& operator=(const SilentClient&) = delete;

private:
    int m_socket;
};

} // namespace

class FaultsOfKxorigin : public OriginTest
{
protected:
    FaultsOfKxorigin() : m_tile(Testing::Fetch(m_origin.Url(kTile)).body)
    {
        if (m_tile.size() < 1000)
            throw std::runtime_error("kxorigin publishes no tile");
    }
    /// A tile's address that fails in this way, so often or always.
    std::string Url(const std::string& kind, const std::string& times = "always") const
    {
        return m_origin.Url("/fault/" + kind + "/" + times + kTile);
    }
    void ExpectMended(const std::string& kind, int failures, int attempts) const
    {
        const Fetched fetched = Testing::Fetch(Url(kind, std::to_string(failures)));
        EXPECT_EQ(0, fetched.result) << fetched.Cause();
        EXPECT_EQ(m_tile, fetched.body);
        EXPECT_EQ(attempts, fetched.info.m_nAttempts);
    }
    Fetched ExpectFailure(const std::string& kind, const char* words, int timeoutMs = 20000) const
    {
        Fetched fetched = Testing::Fetch(Url(kind), {.timeoutMs = timeoutMs});
        EXPECT_EQ(6, fetched.result);
        EXPECT_EQ("", fetched.body);
        EXPECT_THAT(fetched.Cause(), HasSubstr(words));
        // Generous: a busy machine may be late, a bound that does not hold is late by much more.
        EXPECT_LT(fetched.info.m_dSeconds, timeoutMs / 1000.0 + 10.0);
        return fetched;
    }
    /// How many requests with this text in their path kxorigin has seen.
    long Seen(const std::string& text) const
    {
        const auto requests = m_origin.Requests();
        return std::count_if(requests.begin(), requests.end(), [&](const nlohmann::json& each) {
            return each["path"].get<std::string>().find(text) != std::string::npos;
        });
    }
    std::string m_tile;
};

TEST_F(FaultsOfKxorigin, ErrorIsAFailureAtOnce)
{
    const Fetched fetched = ExpectFailure("status-500", "status 500");
    EXPECT_EQ(1, fetched.info.m_nAttempts);
    EXPECT_EQ(500, fetched.info.m_nHttpStatus);
    EXPECT_EQ(1, Seen("status-500"));
}

TEST_F(FaultsOfKxorigin, BusyServerIsAskedAgainWhenItSays)
{
    const Fetched fetched = Testing::Fetch(Url("busy-1", "1"));
    EXPECT_EQ(m_tile, fetched.body) << fetched.Cause();
    EXPECT_EQ(2, fetched.info.m_nAttempts);
    EXPECT_GE(fetched.info.m_dSeconds, 1.0);
    EXPECT_EQ(2, Seen("busy-1"));
}

TEST_F(FaultsOfKxorigin, ServerBusyBeyondTheTimeOutIsNotWaitedFor)
{
    const Fetched fetched = ExpectFailure("busy-3600", "status 503", 9000);
    EXPECT_EQ(1, fetched.info.m_nAttempts);
    EXPECT_LT(fetched.info.m_dSeconds, 9.0);
}

TEST_F(FaultsOfKxorigin, ServerBusyForGoodIsAskedThreeTimes)
{
    EXPECT_EQ(3, ExpectFailure("busy-0", "status 503").info.m_nAttempts);
    EXPECT_EQ(3, Seen("busy-0"));
}

TEST_F(FaultsOfKxorigin, ShortBodyIsFetchedAgain)
{
    ExpectMended("short", 2, 3);
}

TEST_F(FaultsOfKxorigin, BodyThatIsAlwaysShortIsAFailure)
{
    const Fetched fetched = ExpectFailure("short", "broke off");
    EXPECT_EQ(3, fetched.info.m_nAttempts);
    EXPECT_EQ(m_tile.size() / 2, fetched.info.m_nBytes);
}

TEST_F(FaultsOfKxorigin, BytesBeyondThePromiseNeverReachTheNextAnswer)
{
    EXPECT_EQ(m_tile.substr(0, m_tile.size() / 2), Testing::Fetch(Url("long")).body);
    EXPECT_EQ(m_tile, Testing::Fetch(m_origin.Url(kTile)).body);
}

TEST_F(FaultsOfKxorigin, LateAnswerIsWaitedFor)
{
    ExpectMended("late-200", 1, 1);
}

TEST_F(FaultsOfKxorigin, AnswerLaterThanTheTimeOutIsAFailure)
{
    const Fetched fetched = ExpectFailure("late-60000", "time-out of 300 ms reached", 300);
    EXPECT_EQ(0, fetched.info.m_nHttpStatus);
}

TEST_F(FaultsOfKxorigin, SlowDripEndsWithTheTimeOut)
{
    // One byte in 20 ms: the tile would take more than 20 s.
    const Fetched fetched = ExpectFailure("drip-20", "time-out of 400 ms reached", 400);
    EXPECT_LT(fetched.info.m_nBytes, m_tile.size());
}

TEST_F(FaultsOfKxorigin, DroppedConnectionIsTriedAgain)
{
    // libcurl itself asks again where a kept connection was closed: requests are counted, not
    // tries.
    EXPECT_EQ(m_tile, Testing::Fetch(Url("drop", "2")).body);
    EXPECT_EQ(3, Seen("/fault/drop/2/"));
    EXPECT_EQ(3, ExpectFailure("drop", "without an answer").info.m_nAttempts);
}

TEST_F(FaultsOfKxorigin, ResetInTheMiddleIsTriedAgain)
{
    ExpectMended("reset", 2, 3);
    EXPECT_EQ(3, ExpectFailure("reset", "127.0.0.1").info.m_nAttempts);
}

TEST_F(FaultsOfKxorigin, ChainOfFiveRedirectsIsFollowed)
{
    const Fetched fetched = Testing::Fetch(Url("redirect-5"));
    EXPECT_EQ(m_tile, fetched.body) << fetched.Cause();
    ExpectFailure("redirect-6", "more than 5 redirects");
}

TEST_F(FaultsOfKxorigin, RedirectLoopIsLeft)
{
    ExpectFailure("loop", "more than 5 redirects");
    EXPECT_EQ(6, Seen("/fault/loop/"));
}

TEST_F(FaultsOfKxorigin, RedirectsToOtherSchemesAreRefused)
{
    ExpectFailure("to-file", "redirect to a scheme other than http and https");
    ExpectFailure("to-ftp", "redirect to a scheme other than http and https");
}

TEST_F(FaultsOfKxorigin, PromisesAndFloodsAreCut)
{
    EXPECT_EQ(1, ExpectFailure("gigabyte", "body larger than").info.m_nAttempts);
    EXPECT_EQ(1, ExpectFailure("flood", "header lines").info.m_nAttempts);
}

TEST_F(FaultsOfKxorigin, SameTileAskedForAtOnceIsSentOnceAndItsFailureShared)
{
    std::vector<Fetched> all(6);
    std::vector<std::thread> threads;
    for (Fetched& fetched : all)
        threads.emplace_back(
            [&] { fetched = Testing::Fetch(Url("late-60000"), {.timeoutMs = 2000}); });
    for (std::thread& thread : threads)
        thread.join();
    for (const Fetched& fetched : all) {
        EXPECT_EQ(6, fetched.result);
        EXPECT_THAT(fetched.Cause(), HasSubstr("time-out of 2000 ms reached"));
    }
    EXPECT_EQ(1, Seen("late-60000"));
}

TEST_F(FaultsOfKxorigin, HoldNobodyElseUp)
{
    // More than kxorigin has threads, and more than the library sends at once.
    std::vector<std::unique_ptr<SilentClient>> clients;
    for (const char* kind : {"late-60000", "drip-60000", "gigabyte", "flood"})
        for (int i = 0; i < 5; ++i)
            clients.push_back(std::make_unique<SilentClient>(
                m_origin.Address(), std::string("/fault/") + kind + "/always" + kTile));
    while (Seen("/fault/") < 20)
        std::this_thread::yield();
    for (int i = 0; i < 10; ++i)
        EXPECT_EQ(m_tile, Testing::Fetch(m_origin.Url(kTile)).body);
}

TEST_F(FaultsOfKxorigin, ServeATileSource)
{
    auto& plain = Source("/xyz/graticule/{$z}/{$x}/{$y}.png");
    auto& faulty = Source("/fault/reset/2/xyz/graticule/{$z}/{$x}/{$y}.png");
    const Pixels expected = OriginTest::Fetch(plain, 3, 6, 2);
    EXPECT_FALSE(expected.empty());
    EXPECT_EQ(expected, OriginTest::Fetch(faulty, 3, 6, 2));
    EXPECT_EQ(3, Seen("/fault/reset/2/"));
}

} // namespace KxC::Testing
