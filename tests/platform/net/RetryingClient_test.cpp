// SPDX-License-Identifier: MIT
#include "RetryingClient.h"

#include "LayerFakes.h"

#include <gmock/gmock.h>

#include <chrono>
#include <deque>

namespace KxC::Http {

namespace {

using namespace std::chrono_literals;
using ::testing::IsEmpty;
using ::testing::SizeIs;

HttpAnswer Busy(std::chrono::seconds retryAfter)
{
    HttpAnswer answer = AnswerOf(503);
    answer.retryAfter = retryAfter;
    return answer;
}

HttpAnswer Broken(bool isTransient)
{
    HttpAnswer answer;
    answer.attempts = 1;
    answer.transient = isTransient;
    answer.cause = "broken";
    return answer;
}

} // namespace

class RetryingClientTest : public ::testing::Test
{
protected:
    HttpAnswer Send(Milliseconds timeout = 30s)
    {
        return m_retrying.Send(RequestTo("http://host/", timeout, m_clock.Now()));
    }
    /// What the wrapped client answers; the last one again and again.
    std::deque<HttpAnswer> m_answers;
    FakeClock m_clock;
    FakeClient m_inner{[this](const HttpRequest&) {
        HttpAnswer answer = m_answers.front().Copy();
        if (m_answers.size() > 1)
            m_answers.pop_front();
        return answer;
    }};
    RetryingClient m_retrying{m_inner, m_clock};
};

TEST_F(RetryingClientTest, AcceptsWhatComesAtOnce)
{
    for (const int status : {200, 204, 404, 400, 403, 500, 501}) {
        m_answers.clear();
        m_answers.push_back(AnswerOf(status));
        EXPECT_EQ(1, Send().attempts) << status;
    }
    EXPECT_THAT(m_clock.Pauses(), IsEmpty());
}

TEST_F(RetryingClientTest, TriesBusyServersTwiceMore)
{
    for (const int status : {429, 502, 503, 504}) {
        m_answers.clear();
        m_answers.push_back(AnswerOf(status));
        const HttpAnswer answer = Send();
        EXPECT_EQ(3, answer.attempts) << status;
        EXPECT_EQ(status, answer.status);
    }
}

TEST_F(RetryingClientTest, TriesBrokenTransfersAgain)
{
    m_answers.push_back(Broken(true));
    m_answers.push_back(AnswerOf(200));
    const HttpAnswer answer = Send();
    EXPECT_EQ(200, answer.status);
    EXPECT_EQ(2, answer.attempts);
    EXPECT_THAT(m_clock.Pauses(), SizeIs(1));
}

TEST_F(RetryingClientTest, LeavesLastingFaultsAlone)
{
    m_answers.push_back(Broken(false));
    EXPECT_EQ(1, Send().attempts);
}

TEST_F(RetryingClientTest, PausesGrow)
{
    m_answers.push_back(AnswerOf(503));
    for (int round = 0; round < 100; ++round)
        Send();
    const std::vector<Milliseconds>& pauses = m_clock.Pauses();
    ASSERT_THAT(pauses, SizeIs(200));
    for (std::size_t i = 0; i < pauses.size(); i += 2) {
        EXPECT_TRUE(pauses[i] >= 200ms && pauses[i] <= 300ms);
        EXPECT_TRUE(pauses[i + 1] >= 400ms && pauses[i + 1] <= 600ms);
    }
}

TEST_F(RetryingClientTest, PausesDiffer)
{
    m_answers.push_back(AnswerOf(503));
    for (int round = 0; round < 50; ++round)
        Send();
    const std::vector<Milliseconds>& pauses = m_clock.Pauses();
    bool haveDiffered = false;
    for (std::size_t i = 2; i < pauses.size(); i += 2)
        haveDiffered |= pauses[i] != pauses[0];
    EXPECT_TRUE(haveDiffered);
}

TEST_F(RetryingClientTest, WaitsForRetryAfterThenTriesAgain)
{
    m_answers.push_back(Busy(4s));
    m_answers.push_back(AnswerOf(200));
    EXPECT_EQ(200, Send().status);
    EXPECT_THAT(m_clock.Pauses(), ::testing::ElementsAre(Milliseconds(4s)));
}

TEST_F(RetryingClientTest, WaitsTenSecondsAtMost)
{
    m_answers.push_back(Busy(std::chrono::seconds::max()));
    m_answers.push_back(AnswerOf(200));
    EXPECT_EQ(200, Send().status);
    EXPECT_THAT(m_clock.Pauses(), ::testing::ElementsAre(Milliseconds(10s)));
}

TEST_F(RetryingClientTest, GivesUpWhenThePauseWouldPassTheDeadline)
{
    m_answers.push_back(Busy(5s));
    const HttpAnswer answer = Send(5s);
    EXPECT_EQ(1, answer.attempts);
    EXPECT_EQ(503, answer.status);
    EXPECT_THAT(m_clock.Pauses(), IsEmpty());
}

} // namespace KxC::Http
