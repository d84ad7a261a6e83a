// SPDX-License-Identifier: MIT
#include "SharingClient.h"

#include "LayerFakes.h"
#include "support/LoopbackServer.h"

#include <gmock/gmock.h>
#include <pthread.h>

#include <atomic>
#include <new>
#include <string>
#include <thread>
#include <vector>

namespace KxC::Http {

namespace {

using namespace std::chrono_literals;

constexpr int kWaiters = 4;

std::string BodyOf(const HttpAnswer& answer)
{
    return {reinterpret_cast<const char*>(answer.body.Data()), answer.body.Size()};
}

/// One thread sends and is held until the others wait for its answer.
class SharingClientTest : public ::testing::Test
{
protected:
    /// Runs the same request on all threads; the wrapped client ends it by `end`.
    std::vector<HttpAnswer> SendTogether(const FakeClient::Answerer& end)
    {
        const HttpRequest request = RequestTo("http://host/tile");
        FakeClient held([&](const HttpRequest& sent) {
            ++m_sent;
            while (m_sharing->WaitersFor(request) < kWaiters)
                std::this_thread::yield();
            return end(sent);
        });
        SharingClient sharing(held);
        m_sharing = &sharing;
        std::vector<HttpAnswer> answers(kWaiters + 1);
        std::vector<std::thread> threads;
        for (HttpAnswer& answer : answers)
            threads.emplace_back([&] {
                try {
                    answer = sharing.Send(request);
                } catch (const std::bad_alloc&) {
                    ++m_thrown;
                }
            });
        for (std::thread& thread : threads)
            thread.join();
        return answers;
    }
    SharingClient* m_sharing = nullptr;
    std::atomic<int> m_sent{0};
    std::atomic<int> m_thrown{0};
};

} // namespace

TEST_F(SharingClientTest, SendsOnceAndGivesAllTheBody)
{
    const auto answers = SendTogether([](const HttpRequest&) {
        HttpAnswer answer = AnswerOf(200);
        answer.contentType = "image/png";
        answer.body.Append("tile", 4);
        return answer;
    });
    EXPECT_EQ(1, m_sent);
    for (const HttpAnswer& answer : answers) {
        EXPECT_EQ("tile", BodyOf(answer));
        EXPECT_EQ("image/png", answer.contentType);
        EXPECT_TRUE(answer.complete);
    }
}

TEST_F(SharingClientTest, SharesFailures)
{
    const auto answers = SendTogether([](const HttpRequest&) {
        HttpAnswer answer;
        answer.cause = "broken";
        return answer;
    });
    EXPECT_EQ(1, m_sent);
    for (const HttpAnswer& answer : answers)
        EXPECT_EQ("broken", answer.cause);
}

TEST_F(SharingClientTest, NobodyWaitsForASenderThatThrew)
{
    const auto answers =
        SendTogether([](const HttpRequest&) -> HttpAnswer { throw std::bad_alloc(); });
    EXPECT_EQ(1, m_thrown);
    int failures = 0;
    for (const HttpAnswer& answer : answers)
        failures += !answer.complete && !answer.cause.empty() ? 1 : 0;
    EXPECT_EQ(kWaiters, failures);
}

TEST_F(SharingClientTest, NobodyWaitsForASenderWhoseThreadEnded)
{
    // The thread's end unwinds its stack without an exception that anyone could catch.
    const auto answers = SendTogether([](const HttpRequest&) -> HttpAnswer {
        ::pthread_exit(nullptr);
        return {};
    });
    EXPECT_EQ(1, m_sent);
    int failures = 0;
    for (const HttpAnswer& answer : answers)
        failures += !answer.complete && !answer.cause.empty() ? 1 : 0;
    EXPECT_EQ(kWaiters, failures);
}

TEST(SharingClient, NobodyWaitsBeyondHisOwnDeadline)
{
    const HttpRequest request = RequestTo("http://host/tile");
    HttpRequest late = request;
    late.deadline = TimePoint::min();
    Testing::Gate sent;
    Testing::Gate over;
    FakeClient held([&](const HttpRequest&) {
        sent.Open();
        over.Wait();
        return AnswerOf(200);
    });
    SharingClient sharing(held);
    HttpAnswer first;
    std::thread sender([&] { first = sharing.Send(request); });
    sent.Wait();
    const HttpAnswer second = sharing.Send(late);
    over.Open();
    sender.join();
    EXPECT_FALSE(second.complete);
    EXPECT_THAT(second.cause, ::testing::HasSubstr("time-out of 30000 ms reached"));
    EXPECT_EQ(200, first.status);
}

TEST(SharingClient, SendsAgainWhenTheFirstIsOver)
{
    int sent = 0;
    FakeClient inner([&](const HttpRequest&) {
        ++sent;
        return AnswerOf(200);
    });
    SharingClient sharing(inner);
    sharing.Send(RequestTo("http://host/"));
    sharing.Send(RequestTo("http://host/"));
    EXPECT_EQ(2, sent);
}

TEST(SharingClient, KeepsApartWhatDiffers)
{
    std::vector<HttpRequest> requests(5, RequestTo("http://host/a"));
    requests[1].url = "http://host/b";
    requests[2].userAgent = "Other/1";
    requests[3].headerLines = {"X-Key: 1"};
    requests[4].timeout = 1s;
    // All must be in flight at once for the gate to open: a shared one would wait for ever.
    std::atomic<int> inFlight{0};
    Testing::Gate gate;
    FakeClient inner([&](const HttpRequest&) {
        if (++inFlight == 5)
            gate.Open();
        gate.Wait();
        return AnswerOf(200);
    });
    SharingClient sharing(inner);
    std::vector<std::thread> threads;
    for (const HttpRequest& request : requests)
        threads.emplace_back([&] { sharing.Send(request); });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(5, inFlight);
}

} // namespace KxC::Http
