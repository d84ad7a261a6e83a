// SPDX-License-Identifier: MIT
#include "NetTest.h"

#include <gmock/gmock.h>

#include <string>

namespace KxC::Testing {

using ::testing::HasSubstr;
using ::testing::MatchesRegex;

class KxNetGetchHeaders : public NetTest
{
protected:
    KxNetGetchHeaders() { m_server.On("/tile", Answers(200, "tile")); }
    /// The request that the server saw.
    LoopbackRequest Send(const Wish& wish)
    {
        EXPECT_EQ(0, Fetch(m_server.Url("/tile"), wish).result);
        return m_server.Requests().back();
    }
    void ExpectRefused(const Wish& wish, const char* words)
    {
        const Fetched fetched = Fetch(m_server.Url("/tile"), wish);
        EXPECT_EQ(6, fetched.result);
        EXPECT_EQ(0, fetched.info.m_nAttempts);
        EXPECT_THAT(fetched.Cause(), HasSubstr(words));
        EXPECT_EQ(0, m_server.RequestCount());
    }
};

TEST_F(KxNetGetchHeaders, NameTheProductAndItsVersion)
{
    EXPECT_THAT(Send({}).Header("User-Agent"), MatchesRegex("KxTile/[0-9]+\\.[0-9]+\\.[0-9]+"));
}

TEST_F(KxNetGetchHeaders, CarryTheAgentThatTheCallerGives)
{
    EXPECT_EQ("Host/9", Send({.userAgent = "Host/9"}).Header("User-Agent"));
}

TEST_F(KxNetGetchHeaders, CarryTheAgentAmongTheLines)
{
    EXPECT_EQ("Line/1", Send({.lines = {"user-agent: Line/1"}}).Header("User-Agent"));
}

TEST_F(KxNetGetchHeaders, PreferTheArgumentToTheLine)
{
    const LoopbackRequest request =
        Send({.userAgent = "Host/9", .lines = {"User-Agent: Line/1", "X-Kept: 1"}});
    EXPECT_EQ("Host/9", request.Header("User-Agent"));
    EXPECT_THAT(request.head, ::testing::Not(HasSubstr("Line/1")));
    EXPECT_EQ("1", request.Header("X-Kept"));
}

TEST_F(KxNetGetchHeaders, CarryEveryLine)
{
    const LoopbackRequest request =
        Send({.lines = {"Referer: http://maps.example/", "X-Key:abc", "", "X-Empty:"}});
    EXPECT_EQ("http://maps.example/", request.Header("Referer"));
    EXPECT_EQ("abc", request.Header("X-Key"));
    EXPECT_TRUE(request.HasHeader("X-Empty"));
}

TEST_F(KxNetGetchHeaders, DoNotLeakIntoTheNextRequest)
{
    Send({.userAgent = "Host/9", .lines = {"X-Key: abc"}});
    const LoopbackRequest next = Send({});
    EXPECT_FALSE(next.HasHeader("X-Key"));
    EXPECT_THAT(next.Header("User-Agent"), HasSubstr("KxTile/"));
}

TEST_F(KxNetGetchHeaders, RefuseLinesThatWouldInject)
{
    ExpectRefused({.lines = {"X-A: 1\r\nX-B: 2"}}, "line end");
    ExpectRefused({.lines = {"X-A: 1\nX-B: 2"}}, "line end");
    ExpectRefused({.lines = {"X-A: 1\r"}}, "line end");
    ExpectRefused({.lines = {KxString("X-A: 1\0", 7)}}, "NUL");
    ExpectRefused({.userAgent = "Agent\r\nX-B: 2"}, "user agent");
}

TEST_F(KxNetGetchHeaders, RefuseLinesThatAreNoHeader)
{
    ExpectRefused({.lines = {"no colon"}}, "Name: value");
    ExpectRefused({.lines = {"X Y: 1"}}, "Name: value");
    ExpectRefused({.lines = {": 1"}}, "Name: value");
}

TEST_F(KxNetGetchHeaders, RefuseLinesThatMoveTheEndOfTheRequest)
{
    ExpectRefused({.lines = {"Content-Length: 10"}}, "Content-Length");
    ExpectRefused({.lines = {"transfer-encoding: chunked"}}, "transfer-encoding");
}

} // namespace KxC::Testing
