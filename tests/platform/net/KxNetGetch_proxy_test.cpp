// SPDX-License-Identifier: MIT
#include "TlsTest.h"
#include "Tunnel.h"

#include <gmock/gmock.h>

namespace KxC::Testing {

using ::testing::HasSubstr;
using ::testing::StartsWith;

/// The proxy stands at a port of its own. Hosts below .invalid have no address (RFC 6761, 6.4), so
/// only a proxy can answer for them.
class KxNetGetchProxy : public TlsTest
{
protected:
    std::string ProxyUrl() const { return m_proxy.Url(""); }

    LoopbackServer m_proxy;
    EnvironmentVariable m_forHttp{"http_proxy", ProxyUrl()};
    EnvironmentVariable m_forHttps{"https_proxy", ProxyUrl()};
    EnvironmentVariable m_shouted{"HTTPS_PROXY", std::nullopt};
    EnvironmentVariable m_forAll{"all_proxy", std::nullopt};
};

TEST_F(KxNetGetchProxy, IsAskedForTheWholeAddressOverHttp)
{
    m_proxy.On("http://maps.invalid/tile", Answers(200, kTile));
    const Fetched fetched = Fetch("http://maps.invalid/tile?level=3");
    EXPECT_EQ(kTile, fetched.body) << fetched.Cause();
    ASSERT_EQ(1, m_proxy.RequestCount());
    EXPECT_EQ("http://maps.invalid/tile?level=3", m_proxy.Requests()[0].target);
    EXPECT_EQ("maps.invalid", m_proxy.Requests()[0].Header("Host"));
}

TEST_F(KxNetGetchProxy, IsAskedForATunnelOverHttps)
{
    const auto server = ServeHttp2();
    m_proxy.On("maps.invalid:443", TunnelsTo(server->Port()));
    KxC::KxNetGetch::SetCaFile(CaFile().c_str());
    const Fetched fetched = Fetch("https://maps.invalid/tile", {.lines = {"X-Key: secret"}});
    EXPECT_EQ(kTile, fetched.body) << fetched.Cause();
    EXPECT_EQ(20, fetched.info.m_nHttpVersion);
    ASSERT_EQ(1, m_proxy.RequestCount());
    EXPECT_THAT(m_proxy.Requests()[0].head, StartsWith("CONNECT maps.invalid:443 HTTP/1.1"));
}

TEST_F(KxNetGetchProxy, LearnsNothingOfARequestThatItTunnels)
{
    const auto server = ServeHttp2();
    m_proxy.On("maps.invalid:443", TunnelsTo(server->Port()));
    KxC::KxNetGetch::SetCaFile(CaFile().c_str());
    Fetch("https://maps.invalid/tile", {.lines = {"X-Key: secret"}});
    ASSERT_EQ(1, m_proxy.RequestCount());
    EXPECT_FALSE(m_proxy.Requests()[0].HasHeader("X-Key"));
}

TEST_F(KxNetGetchProxy, CannotPassItselfOffAsTheServer)
{
    MakeCertificate("elsewhere", "DNS:proxy.invalid,IP:127.0.0.1");
    const auto server = ServeHttp2("elsewhere");
    m_proxy.On("maps.invalid:443", TunnelsTo(server->Port()));
    KxC::KxNetGetch::SetCaFile(CaFile().c_str());
    const Fetched fetched = Fetch("https://maps.invalid/tile");
    EXPECT_EQ(6, fetched.result);
    EXPECT_THAT(fetched.Cause(), HasSubstr("not trusted"));
}

TEST_F(KxNetGetchProxy, IsPassedByForHostsInNoProxy)
{
    m_server.On("/tile", Answers(200, kTile));
    m_proxy.On("/", Answers(200, "the proxy's"));
    const EnvironmentVariable none("no_proxy", "elsewhere.invalid,127.0.0.1");
    EXPECT_EQ(kTile, Fetch(m_server.Url("/tile")).body);
    EXPECT_EQ(0, m_proxy.RequestCount());
}

TEST_F(KxNetGetchProxy, IsAskedForHostsThatNoProxyDoesNotName)
{
    m_server.On("/tile", Answers(200, kTile));
    m_proxy.On(m_server.Url("/tile"), Answers(200, "the proxy's"));
    const EnvironmentVariable none("no_proxy", "elsewhere.invalid");
    EXPECT_EQ("the proxy's", Fetch(m_server.Url("/tile")).body);
    EXPECT_EQ(0, m_server.RequestCount());
}

TEST_F(KxNetGetchProxy, RefusingATunnelDoesNotSpeakForTheServer)
{
    // Taken for the server's word, the first would mean that there is no tile.
    for (const int status : {404, 403, 407}) {
        m_proxy.On("maps.invalid:443", Answers(status, "no"));
        const Fetched fetched = Fetch("https://maps.invalid/tile");
        EXPECT_EQ(6, fetched.result) << status;
        EXPECT_EQ(0, fetched.info.m_nHttpStatus);
        EXPECT_EQ(1, fetched.info.m_nAttempts);
        EXPECT_THAT(fetched.Cause(), HasSubstr("(status " + std::to_string(status) + ")"));
        EXPECT_THAT(fetched.Cause(), HasSubstr("https_proxy"));
    }
}

TEST_F(KxNetGetchProxy, BusyWithTunnelsIsAskedAgain)
{
    const auto server = ServeHttp2();
    KxC::KxNetGetch::SetCaFile(CaFile().c_str());
    m_proxy.On("maps.invalid:443",
               [&](LoopbackConnection& connection, const LoopbackRequest& request) {
                   const bool isFirst = m_proxy.RequestCount() == 1;
                   (isFirst ? Answers(503, "") : TunnelsTo(server->Port()))(connection, request);
               });
    const Fetched fetched = Fetch("https://maps.invalid/tile");
    EXPECT_EQ(kTile, fetched.body) << fetched.Cause();
    EXPECT_EQ(2, fetched.info.m_nAttempts);
}

TEST_F(KxNetGetchProxy, ThatHasNoAddressIsNamed)
{
    const EnvironmentVariable lost("http_proxy", "http://proxy.invalid:3128");
    const Fetched fetched = Fetch("http://maps.invalid/tile");
    EXPECT_EQ(6, fetched.result);
    EXPECT_THAT(fetched.Cause(), HasSubstr("cannot resolve the proxy"));
}

} // namespace KxC::Testing
