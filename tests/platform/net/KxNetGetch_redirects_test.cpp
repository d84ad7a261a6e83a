// SPDX-License-Identifier: MIT
#include "NetTest.h"

#include <gmock/gmock.h>

#include <string>

namespace KxC::Testing {

using ::testing::HasSubstr;

/// Redirects between two servers: the one of the fixture and another, which is another origin for
/// its port.
class KxNetGetchRedirects : public NetTest
{
protected:
    KxNetGetchRedirects()
    {
        m_server.On("/tile", Answers(200, "tile"));
        m_other.On("/tile", Answers(200, "other's tile"));
        m_server.On("/here", RedirectsTo("/tile"));
        m_server.On("/away", RedirectsTo(m_other.Url("/tile")));
        m_server.On("/around", RedirectsTo(m_other.Url("/back")));
        m_other.On("/back", RedirectsTo(m_server.Url("/tile")));
    }
    static Route RedirectsTo(const std::string& place)
    {
        return Answers(302, "moved", "Location: " + place + "\r\n");
    }
    void ExpectTile(const char* path, const char* body, const Wish& wish = {})
    {
        const Fetched fetched = Fetch(m_server.Url(path), wish);
        EXPECT_EQ(0, fetched.result) << fetched.Cause();
        EXPECT_EQ(body, fetched.body);
        EXPECT_EQ(1, fetched.info.m_nAttempts);
        EXPECT_EQ(fetched.body.size(), fetched.info.m_nBytes);
    }
    const Wish m_secrets{.lines = {"X-Api-Key: secret",
                                   "Referer: http://secret.example/",
                                   "Authorization: Bearer secret",
                                   "Cookie: secret=1"}};
    LoopbackServer m_other;
};

TEST_F(KxNetGetchRedirects, OwnLinesStayOnTheirHost)
{
    ExpectTile("/here", "tile", m_secrets);
    const LoopbackRequest request = m_server.Requests().back();
    EXPECT_EQ("/tile", request.target);
    EXPECT_EQ("secret", request.Header("X-Api-Key"));
    EXPECT_EQ("http://secret.example/", request.Header("Referer"));
    EXPECT_EQ("Bearer secret", request.Header("Authorization"));
}

TEST_F(KxNetGetchRedirects, AnotherHostDoesNotSeeTheOwnLines)
{
    ExpectTile("/away", "other's tile", m_secrets);
    ASSERT_EQ(1, m_other.RequestCount());
    EXPECT_THAT(m_other.Requests().back().head, ::testing::Not(HasSubstr("secret")));
}

TEST_F(KxNetGetchRedirects, WayBackToTheHostTakesTheLinesUpAgain)
{
    ExpectTile("/around", "tile", m_secrets);
    EXPECT_THAT(m_other.Requests().back().head, ::testing::Not(HasSubstr("secret")));
    EXPECT_EQ("secret", m_server.Requests().back().Header("X-Api-Key"));
}

TEST_F(KxNetGetchRedirects, AnotherHostLearnsWhoAsks)
{
    ExpectTile("/away", "other's tile", {.userAgent = "Host/9"});
    EXPECT_EQ("Host/9", m_other.Requests().back().Header("User-Agent"));
    ExpectTile("/away", "other's tile", {.lines = {"User-Agent: Line/1", "X-Api-Key: secret"}});
    EXPECT_EQ("Line/1", m_other.Requests().back().Header("User-Agent"));
    EXPECT_FALSE(m_other.Requests().back().HasHeader("X-Api-Key"));
}

TEST_F(KxNetGetchRedirects, NextRequestCarriesItsLinesAgain)
{
    ExpectTile("/away", "other's tile", m_secrets);
    ExpectTile("/tile", "tile", m_secrets);
    EXPECT_EQ("secret", m_server.Requests().back().Header("X-Api-Key"));
}

TEST_F(KxNetGetchRedirects, ConnectionIsKeptOverARedirect)
{
    ExpectTile("/here", "tile");
    EXPECT_EQ(1, m_server.ConnectionCount());
}

TEST_F(KxNetGetchRedirects, PageOfARedirectMayBreakOff)
{
    m_server.On("/short",
                SendsAndCloses("HTTP/1.1 302 Found\r\nLocation: /tile\r\n"
                               "Content-Length: 100\r\n\r\nten bytes."));
    ExpectTile("/short", "tile");
}

TEST_F(KxNetGetchRedirects, EndlessPageOfARedirectIsCut)
{
    m_server.On("/endless", [](LoopbackConnection& connection, const LoopbackRequest&) {
        connection.Send("HTTP/1.1 302 Found\r\nLocation: /tile\r\n\r\n");
        const std::string piece(1 << 16, 'x');
        while (connection.Send(piece)) {
        }
    });
    ExpectTile("/endless", "tile");
}

TEST_F(KxNetGetchRedirects, FaultsNameTheHostThatWasAskedLast)
{
    m_server.On("/lost", RedirectsTo("http://nobody.invalid/tile"));
    const Fetched fetched = Fetch(m_server.Url("/lost"));
    EXPECT_EQ(6, fetched.result);
    EXPECT_THAT(fetched.Cause(), HasSubstr("cannot resolve host 'nobody.invalid'"));
}

} // namespace KxC::Testing
