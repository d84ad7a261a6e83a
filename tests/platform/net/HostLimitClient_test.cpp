// SPDX-License-Identifier: MIT
#include "HostLimitClient.h"

#include "LayerFakes.h"
#include "support/LoopbackServer.h"

#include <gmock/gmock.h>

#include <atomic>
#include <new>
#include <thread>
#include <vector>

namespace KxC::Http {

namespace {

using namespace std::chrono_literals;
using Testing::Gate;

/// A client whose requests stay in flight until the gate opens.
class Held final : public HttpClient
{
public:
    HttpAnswer Send(const HttpRequest& /*request*/) override
    {
        const int now = ++m_inFlight;
        m_inFlight.notify_all();
        int most = m_most;
        while (most < now && !m_most.compare_exchange_weak(most, now)) {
        }
        m_gate.Wait();
        --m_inFlight;
        return AnswerOf(200);
    }
    void WaitForInFlight(int count)
    {
        for (int now = m_inFlight; now < count; now = m_inFlight)
            m_inFlight.wait(now);
    }
    int Most() const { return m_most; }
    void Open() { m_gate.Open(); }

private:
    std::atomic<int> m_inFlight{0};
    std::atomic<int> m_most{0};
    Gate m_gate;
};

class Threads
{
public:
    ~Threads()
    {
        for (std::thread& thread : m_threads)
            thread.join();
    }
    void Send(HttpClient& client, const std::string& url)
    {
        m_threads.emplace_back(
            [&client, url] { EXPECT_EQ(200, client.Send(RequestTo(url, 10min)).status); });
    }

private:
    std::vector<std::thread> m_threads;
};

} // namespace

TEST(HostLimitClient, LetsSoManyThroughAndNoMore)
{
    Held held;
    HostLimitClient limited(held, 3);
    {
        Threads threads;
        for (int i = 0; i < 12; ++i)
            threads.Send(limited, "http://host/" + std::to_string(i));
        held.WaitForInFlight(3);
        held.Open();
    }
    EXPECT_EQ(3, held.Most());
}

TEST(HostLimitClient, CountsEachHostByItself)
{
    Held held;
    HostLimitClient limited(held, 1);
    Threads threads;
    threads.Send(limited, "http://one/");
    threads.Send(limited, "http://two/");
    threads.Send(limited, "http://one:81/");
    held.WaitForInFlight(3);
    held.Open();
}

TEST(HostLimitClient, FailsWhenNoPlaceComesFreeInTime)
{
    Held held;
    HostLimitClient limited(held, 1);
    Threads threads;
    threads.Send(limited, "http://host/");
    held.WaitForInFlight(1);
    const HttpAnswer answer = limited.Send(RequestTo("http://HOST/other", 0ms));
    EXPECT_FALSE(answer.complete);
    EXPECT_EQ(0, answer.attempts);
    EXPECT_THAT(answer.cause, ::testing::HasSubstr("other requests to host 'host'"));
    held.Open();
}

TEST(HostLimitClient, HigherLimitLetsWaitersThrough)
{
    Held held;
    HostLimitClient limited(held, 1);
    Threads threads;
    threads.Send(limited, "http://host/1");
    threads.Send(limited, "http://host/2");
    held.WaitForInFlight(1);
    limited.SetLimit(2);
    held.WaitForInFlight(2);
    held.Open();
}

TEST(HostLimitClient, GivesThePlaceBackWhenTheRequestThrows)
{
    FakeClient broken([](const HttpRequest&) -> HttpAnswer { throw std::bad_alloc(); });
    HostLimitClient limited(broken, 1);
    EXPECT_THROW(limited.Send(RequestTo("http://host/")), std::bad_alloc);
    EXPECT_THROW(limited.Send(RequestTo("http://host/")), std::bad_alloc);
}

} // namespace KxC::Http
