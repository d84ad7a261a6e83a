// SPDX-License-Identifier: MIT
#include "CurlTransfer.h"

#include "LayerFakes.h"
#include "RetryingClient.h"
#include "support/LoopbackServer.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <ctime>
#include <string>

namespace KxC::Http {

namespace {

using namespace std::chrono_literals;
using namespace Testing;
using ::testing::HasSubstr;

class CurlTransferTest : public ::testing::Test
{
protected:
    CurlTransferTest()
    {
        ::setenv("no_proxy", "127.0.0.1", 1); // NOLINT(concurrency-mt-unsafe): none other yet
    }
    HttpAnswer Send(const std::string& path)
    {
        return m_transfer.Send(RequestTo(m_server.Url(path), 20s));
    }
    void ExpectTransient(const std::string& path, const char* words)
    {
        const HttpAnswer answer = Send(path);
        EXPECT_FALSE(answer.complete);
        EXPECT_TRUE(answer.transient);
        EXPECT_EQ(0U, answer.body.Size());
        EXPECT_THAT(answer.cause, HasSubstr(words));
    }
    SystemClock m_clock;
    CurlTransfer m_transfer{m_clock};
    LoopbackServer m_server;
};

/// RFC 9110, 5.6.7: "Sun, 06 Nov 1994 08:49:37 GMT".
std::string HttpDate(std::time_t time)
{
    std::tm parts{};
    ::gmtime_r(&time, &parts);
    char text[40];
    std::strftime(text, sizeof(text), "%a, %d %b %Y %H:%M:%S GMT", &parts);
    return text;
}

TEST_F(CurlTransferTest, ShortBodyIsTransient)
{
    m_server.On("/short",
                SendsAndCloses("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nten bytes."));
    ExpectTransient("/short", "broke off after 10 bytes");
}

TEST_F(CurlTransferTest, ShortChunkedBodyIsTransient)
{
    m_server.On(
        "/short",
        SendsAndCloses("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n64\r\nten bytes."));
    ExpectTransient("/short", "broke off after 10 bytes");
}

TEST_F(CurlTransferTest, ResetIsTransient)
{
    m_server.On("/reset",
                [](LoopbackConnection& connection, const LoopbackRequest&) { connection.Reset(); });
    ExpectTransient("/reset", "127.0.0.1");
}

TEST_F(CurlTransferTest, EarlierResetDoesNotExcuseALaterFault)
{
    m_server.On("/reset",
                [](LoopbackConnection& connection, const LoopbackRequest&) { connection.Reset(); });
    m_server.On("/loop", Answers(302, "", "Location: /loop\r\n"));
    EXPECT_TRUE(Send("/reset").transient);
    EXPECT_FALSE(Send("/loop").transient);
}

TEST_F(CurlTransferTest, ClosingWithoutAnswerIsTransient)
{
    m_server.On("/close", SendsAndCloses(""));
    ExpectTransient("/close", "without an answer");
}

TEST_F(CurlTransferTest, AnswerBelowTheFloorOnSpeedIsTransient)
{
    m_server.On("/stalls", [](LoopbackConnection& connection, const LoopbackRequest&) {
        connection.Send("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nten bytes.");
        connection.WaitForEnd();
    });
    CurlTransfer impatient(m_clock, 1s);
    HttpRequest request = RequestTo(m_server.Url("/stalls"), 2s);
    // Far beyond the patience: only the floor can end this.
    request.deadline += 1h;
    const HttpAnswer answer = impatient.Send(request);
    EXPECT_TRUE(answer.transient);
    EXPECT_THAT(answer.cause, HasSubstr("slower than 100 bytes a second"));
    EXPECT_EQ(10U, answer.bytesReceived);
}

TEST_F(CurlTransferTest, FloorOnSpeedLetsTheServerThink)
{
    m_server.On("/renders", [](LoopbackConnection& connection, const LoopbackRequest&) {
        connection.Send("HTTP/1.1 102 Processing\r\n\r\n");
        connection.WaitForEnd();
    });
    CurlTransfer impatient(m_clock, 1s);
    // The floor would end this after half of it.
    const HttpAnswer answer = impatient.Send(RequestTo(m_server.Url("/renders"), 2s));
    EXPECT_THAT(answer.cause, HasSubstr("time-out of 2000 ms reached after 0 bytes"));
}

TEST_F(CurlTransferTest, TellsTheVersionOfHttp)
{
    m_server.On("/old", SendsAndCloses("HTTP/1.0 200 OK\r\n\r\ntile"));
    m_server.On("/usual", Answers(200, "tile"));
    EXPECT_EQ(10, Send("/old").httpVersion);
    EXPECT_EQ(11, Send("/usual").httpVersion);
}

TEST_F(CurlTransferTest, ErrorPageThatBreaksOffStillSaysItsStatus)
{
    m_server.On("/short",
                SendsAndCloses("HTTP/1.1 404 No\r\nContent-Length: 100\r\n\r\nten bytes."));
    const HttpAnswer answer = Send("/short");
    EXPECT_TRUE(answer.complete);
    EXPECT_EQ(404, answer.status);
}

TEST_F(CurlTransferTest, ReadsRetryAfterInSeconds)
{
    m_server.On("/busy", Answers(429, "", "Retry-After: 7\r\n"));
    EXPECT_EQ(7s, Send("/busy").retryAfter);
}

TEST_F(CurlTransferTest, ReadsRetryAfterAsADate)
{
    m_server.On("/busy", [](LoopbackConnection& connection, const LoopbackRequest&) {
        const std::string date = HttpDate(std::time(nullptr) + 3600);
        connection.Send(AnswerText(503, "", "Retry-After: " + date + "\r\n"));
    });
    const HttpAnswer answer = Send("/busy");
    EXPECT_GT(answer.retryAfter, 3000s);
    EXPECT_LE(answer.retryAfter, 3600s);
}

TEST_F(CurlTransferTest, ReadsPastDatesAndNonsenseAsNoWish)
{
    m_server.On("/past", Answers(503, "", "Retry-After: " + HttpDate(1000000000) + "\r\n"));
    m_server.On("/odd", Answers(503, "", "Retry-After: soon\r\n"));
    EXPECT_EQ(0s, Send("/past").retryAfter);
    EXPECT_EQ(0s, Send("/odd").retryAfter);
}

TEST_F(CurlTransferTest, RetriesMendWhatBrokeOnce)
{
    FakeClock clock;
    RetryingClient retrying(m_transfer, clock);
    m_server.On("/flaky", [this](LoopbackConnection& connection, const LoopbackRequest&) {
        if (m_server.RequestCount() < 3)
            connection.Reset();
        else
            connection.Send(AnswerText(200, "tile"));
    });
    const HttpAnswer answer = retrying.Send(RequestTo(m_server.Url("/flaky"), 20s));
    EXPECT_EQ(200, answer.status);
    EXPECT_EQ(3, answer.attempts);
    EXPECT_EQ(4U, answer.body.Size());
}

TEST_F(CurlTransferTest, ShortBodiesStayFailuresAfterRetries)
{
    FakeClock clock;
    RetryingClient retrying(m_transfer, clock);
    m_server.On("/short", SendsAndCloses("HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\ntile"));
    const HttpAnswer answer = retrying.Send(RequestTo(m_server.Url("/short"), 20s));
    EXPECT_FALSE(answer.complete);
    EXPECT_EQ(3, answer.attempts);
    EXPECT_EQ(3, m_server.RequestCount());
}

} // namespace

} // namespace KxC::Http
