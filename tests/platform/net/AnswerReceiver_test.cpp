// SPDX-License-Identifier: MIT
#include "AnswerReceiver.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace KxC::Http {

using Stop = AnswerReceiver::Stop;

TEST(AnswerReceiver, KeepsTheBodyOfASuccess)
{
    AnswerReceiver receiver;
    EXPECT_TRUE(receiver.OnHeaderLine("HTTP/2 200\r\n"));
    EXPECT_TRUE(receiver.OnHeaderLine("content-length: 4\r\n"));
    EXPECT_TRUE(receiver.OnHeaderLine("\r\n"));
    EXPECT_TRUE(receiver.OnBody("tile", 4));
    EXPECT_EQ(200, receiver.Status());
    EXPECT_TRUE(receiver.HasHead());
    EXPECT_EQ(4U, receiver.TakeBody().Size());
}

TEST(AnswerReceiver, DropsTheBodyOfAnError)
{
    AnswerReceiver receiver;
    receiver.OnHeaderLine("HTTP/1.1 404 Not Found\r\n");
    receiver.OnHeaderLine("\r\n");
    EXPECT_TRUE(receiver.OnBody("page", 4));
    EXPECT_EQ(4U, receiver.BytesReceived());
    EXPECT_EQ(0U, receiver.TakeBody().Size());
}

TEST(AnswerReceiver, StartsAnewWithEveryStatusLine)
{
    AnswerReceiver receiver;
    receiver.OnHeaderLine("HTTP/1.1 302 Found\r\n");
    receiver.OnHeaderLine("Content-Length: 999999999999\r\n");
    EXPECT_TRUE(receiver.OnHeaderLine("\r\n"));
    receiver.OnHeaderLine("HTTP/1.1 200 OK\r\n");
    EXPECT_FALSE(receiver.HasHead());
    EXPECT_TRUE(receiver.OnHeaderLine("\r\n"));
    EXPECT_EQ(200, receiver.Status());
}

TEST(AnswerReceiver, InterimAnswersAreNoBeginning)
{
    AnswerReceiver receiver;
    EXPECT_FALSE(receiver.HasBegun());
    receiver.OnHeaderLine("HTTP/1.1 102 Processing\r\n");
    receiver.OnHeaderLine("\r\n");
    EXPECT_FALSE(receiver.HasBegun());
    receiver.OnHeaderLine("HTTP/1.1 200 OK\r\n");
    EXPECT_TRUE(receiver.HasBegun());
}

TEST(AnswerReceiver, ForgetsTheRedirectsPageWhenTheNextIsAwaited)
{
    AnswerReceiver receiver;
    receiver.OnHeaderLine("HTTP/1.1 302 Found\r\n");
    receiver.OnHeaderLine("\r\n");
    receiver.OnBody("moved", 5);
    receiver.AwaitNext();
    EXPECT_EQ(302, receiver.Status());
    EXPECT_FALSE(receiver.HasBegun());
    EXPECT_FALSE(receiver.HasHead());
    EXPECT_EQ(0U, receiver.BytesReceived());
    receiver.OnHeaderLine("HTTP/1.1 200 OK\r\n");
    EXPECT_EQ(200, receiver.Status());
}

TEST(AnswerReceiver, HeaderLinesOfAllRedirectsCountTogether)
{
    AnswerReceiver receiver;
    for (std::size_t i = 0; i < AnswerReceiver::kMaxHeaderLines; ++i) {
        EXPECT_TRUE(receiver.OnHeaderLine("HTTP/1.1 302 Found\r\n"));
        receiver.AwaitNext();
    }
    EXPECT_FALSE(receiver.OnHeaderLine("HTTP/1.1 302 Found\r\n"));
}

TEST(AnswerReceiver, AcceptsTheLargestBodyAndNotAByteMore)
{
    for (const auto& [length, isAccepted] : {std::pair{"67108864", true}, {"67108865", false}}) {
        AnswerReceiver receiver;
        receiver.OnHeaderLine("HTTP/1.1 200 OK\r\n");
        receiver.OnHeaderLine(std::string("Content-Length: ") + length + "\r\n");
        EXPECT_EQ(isAccepted, receiver.OnHeaderLine("\r\n"));
        EXPECT_EQ(isAccepted ? Stop::None : Stop::BodyTooLarge, receiver.WhyStopped());
    }
}

TEST(AnswerReceiver, TakesNonsenseForNoPromise)
{
    for (const char* line :
         {"Content-Length: -1\r\n", "Content-Length:\r\n", "Content-Length: x\r\n"}) {
        AnswerReceiver receiver;
        receiver.OnHeaderLine("HTTP/1.1 200 OK\r\n");
        EXPECT_TRUE(receiver.OnHeaderLine(line));
        EXPECT_TRUE(receiver.OnHeaderLine("\r\n"));
    }
}

TEST(AnswerReceiver, StatusLinesWithoutANumberAreStatusZero)
{
    for (const char* line : {"HTTP/1.1\r\n", "HTTP/1.1 \r\n", "HTTP/1.1 99999999999 x\r\n"}) {
        AnswerReceiver receiver;
        receiver.OnHeaderLine(line);
        EXPECT_EQ(0, receiver.Status()) << line;
    }
}

TEST(AnswerReceiver, TrailersChangeNothing)
{
    AnswerReceiver receiver;
    receiver.OnHeaderLine("HTTP/1.1 200 OK\r\n");
    receiver.OnHeaderLine("\r\n");
    receiver.OnBody("tile", 4);
    EXPECT_TRUE(receiver.OnHeaderLine("HTTP/1.1 404 Not Found\r\n"));
    EXPECT_EQ(200, receiver.Status());
}

TEST(AnswerReceiver, StopsAtTheBoundOfLinesAndOfBytes)
{
    AnswerReceiver lines;
    for (std::size_t i = 0; i < AnswerReceiver::kMaxHeaderLines; ++i)
        ASSERT_TRUE(lines.OnHeaderLine("X: 1\r\n"));
    EXPECT_FALSE(lines.OnHeaderLine("X: 1\r\n"));
    EXPECT_EQ(Stop::TooManyHeaders, lines.WhyStopped());

    AnswerReceiver bytes;
    EXPECT_TRUE(bytes.OnHeaderLine(std::string(AnswerReceiver::kMaxHeaderBytes, 'x')));
    EXPECT_FALSE(bytes.OnHeaderLine("x"));
}

} // namespace KxC::Http
