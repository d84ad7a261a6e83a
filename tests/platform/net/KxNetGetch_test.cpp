// SPDX-License-Identifier: MIT
#include "KxNetGetch.h"

#include "NetTest.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

namespace KxC::Testing {

using KxNetGetch = NetTest;

TEST_F(KxNetGetch, HandsTheBodyOver)
{
    const std::string body("\x89PNG\0and more", 13);
    m_server.On("/tile", Answers(200, body, "Content-Type: image/png\r\n"));
    const Fetched fetched = Fetch(m_server.Url("/tile"));
    EXPECT_EQ(0, fetched.result);
    EXPECT_EQ(body, fetched.body);
    EXPECT_EQ(200, fetched.info.m_nHttpStatus);
    EXPECT_EQ(11, fetched.info.m_nHttpVersion);
    EXPECT_EQ(1, fetched.info.m_nAttempts);
    EXPECT_EQ(13U, fetched.info.m_nBytes);
    EXPECT_GE(fetched.info.m_dSeconds, 0.0);
    EXPECT_STREQ("image/png", fetched.info.m_strContentType.Cstr());
    EXPECT_EQ(m_server.Url("/tile"), fetched.info.m_strUrl.Cstr());
    EXPECT_EQ("", fetched.Cause());
}

TEST_F(KxNetGetch, ReusesTheKeptConnection)
{
    m_server.On("/tile", Answers(200, "tile"));
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(0, Fetch(m_server.Url("/tile")).result);
    EXPECT_EQ(3, m_server.RequestCount());
    EXPECT_EQ(1, m_server.ConnectionCount());
}

TEST_F(KxNetGetch, KeepsTheConnectionOverAnErrorPage)
{
    m_server.On("/tile", Answers(200, "tile"));
    m_server.On("/gone", Answers(410, std::string(1000, 'x')));
    Fetch(m_server.Url("/gone"));
    Fetch(m_server.Url("/tile"));
    EXPECT_EQ(1, m_server.ConnectionCount());
}

TEST_F(KxNetGetch, EmptyBodyIsSuccessWithoutBytes)
{
    m_server.On("/empty", Answers(200, ""));
    const Fetched fetched = Fetch(m_server.Url("/empty"));
    EXPECT_EQ(0, fetched.result);
    EXPECT_EQ("", fetched.body);
}

TEST_F(KxNetGetch, ReceivesChunkedBodies)
{
    m_server.On("/chunked",
                SendsAndCloses("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n"
                               "3\r\nabc\r\nA\r\n0123456789\r\n0\r\nTrailer: 1\r\n\r\n"));
    EXPECT_EQ("abc0123456789", Fetch(m_server.Url("/chunked")).body);
}

TEST_F(KxNetGetch, ReceivesBodiesThatEndWithTheConnection)
{
    const std::string body(3 << 20, 'b');
    m_server.On("/close", SendsAndCloses("HTTP/1.1 200 OK\r\n\r\n" + body));
    EXPECT_EQ(body, Fetch(m_server.Url("/close")).body);
}

TEST_F(KxNetGetch, LeavesCompressedBodiesAsTheyCome)
{
    m_server.On("/gzip", Answers(200, "not really gzip", "Content-Encoding: gzip\r\n"));
    EXPECT_EQ("not really gzip", Fetch(m_server.Url("/gzip")).body);
    EXPECT_FALSE(m_server.Requests().at(0).HasHeader("Accept-Encoding"));
}

TEST_F(KxNetGetch, EmptiesWhatTheRawDataHeld)
{
    m_server.On("/gone", Answers(404, "page"));
    KxRawData data;
    data.Attach(static_cast<unsigned char*>(std::malloc(4)), 4);
    const std::string url = m_server.Url("/gone");
    EXPECT_EQ(7, KxC::KxNetGetch::RequestData(data, url.c_str(), "", "", 0, 1, 0, "", nullptr));
    EXPECT_EQ(nullptr, data.GetData());
    EXPECT_EQ(0U, data.GetSize());
}

TEST_F(KxNetGetch, ForgetsTheLastRequestWhenAsked)
{
    Fetch(m_server.Url("/tile"));
    KxC::KxNetGetch::ClearLastRequestInfo();
    const KxNetRequestInfo& info = KxC::KxNetGetch::GetLastRequestInfo();
    EXPECT_TRUE(info.m_strUrl.IsEmpty());
    EXPECT_EQ(0, info.m_nHttpStatus);
    EXPECT_EQ(0, info.m_nAttempts);
}

struct StatusCase
{
    int status;
    int result;
};
class KxNetGetchStatus : public NetTest, public ::testing::WithParamInterface<StatusCase>
{
};

TEST_P(KxNetGetchStatus, DecidesTheResult)
{
    m_server.On("/tile", Answers(GetParam().status, "page"));
    const Fetched fetched = Fetch(m_server.Url("/tile"));
    EXPECT_EQ(GetParam().result, fetched.result);
    EXPECT_EQ(GetParam().status, fetched.info.m_nHttpStatus);
    EXPECT_EQ(GetParam().result == 0 ? "page" : "", fetched.body);
    EXPECT_EQ(GetParam().result == 0, fetched.Cause().empty());
}

INSTANTIATE_TEST_SUITE_P(Table,
                         KxNetGetchStatus,
                         ::testing::Values(StatusCase{200, 0},
                                           StatusCase{201, 0},
                                           StatusCase{203, 0},
                                           StatusCase{204, 7},
                                           StatusCase{206, 6},
                                           StatusCase{300, 6},
                                           StatusCase{302, 6},
                                           StatusCase{304, 6},
                                           StatusCase{400, 6},
                                           StatusCase{401, 6},
                                           StatusCase{403, 6},
                                           StatusCase{404, 7},
                                           StatusCase{410, 7},
                                           StatusCase{418, 6},
                                           StatusCase{500, 6},
                                           StatusCase{501, 6}),
                         [](const auto& each) { return std::to_string(each.param.status); });

} // namespace KxC::Testing
