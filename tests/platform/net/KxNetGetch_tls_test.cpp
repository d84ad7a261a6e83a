// SPDX-License-Identifier: MIT
#include "TlsTest.h"

#include <gmock/gmock.h>

namespace KxC::Testing {

using ::testing::HasSubstr;

class KxNetGetchTls : public TlsTest
{
protected:
    static Fetched FetchTrusting(const std::string& caFile, const std::string& url)
    {
        EXPECT_TRUE(KxC::KxNetGetch::SetCaFile(caFile.c_str()));
        return Fetch(url);
    }
    static void ExpectTile(const Fetched& fetched, int version)
    {
        EXPECT_EQ(0, fetched.result) << fetched.Cause();
        EXPECT_EQ(kTile, fetched.body);
        EXPECT_EQ(version, fetched.info.m_nHttpVersion);
    }
    static void ExpectUntrusted(const Fetched& fetched)
    {
        EXPECT_EQ(6, fetched.result);
        EXPECT_EQ(1, fetched.info.m_nAttempts);
        EXPECT_EQ(0, fetched.info.m_nHttpStatus);
        EXPECT_EQ(0, fetched.info.m_nHttpVersion);
        EXPECT_TRUE(fetched.info.m_bUnreached);
        EXPECT_THAT(fetched.Cause(), HasSubstr("not trusted"));
    }
};

TEST_F(KxNetGetchTls, SpeaksHttp2WhereItIsOffered)
{
    const auto server = ServeHttp2();
    ExpectTile(FetchTrusting(CaFile(), server->Url("/tile")), 20);
}

TEST_F(KxNetGetchTls, SpeaksHttp1WhereNothingElseIsOffered)
{
    const auto server = ServeHttp1();
    ExpectTile(FetchTrusting(CaFile(), server->Url("/tile")), 10);
}

TEST_F(KxNetGetchTls, TellsNoTileOverHttp2)
{
    const auto server = ServeHttp2();
    const Fetched fetched = FetchTrusting(CaFile(), server->Url("/nowhere"));
    EXPECT_EQ(7, fetched.result);
    EXPECT_EQ(404, fetched.info.m_nHttpStatus);
}

TEST_F(KxNetGetchTls, RefusesWhatTheSystemDoesNotTrust)
{
    const auto server = ServeHttp2();
    ExpectUntrusted(Fetch(server->Url("/tile")));
}

TEST_F(KxNetGetchTls, RefusesWhatAnotherAuthoritySigned)
{
    const auto server = ServeHttp2();
    ExpectUntrusted(FetchTrusting(MakeCa("other"), server->Url("/tile")));
}

TEST_F(KxNetGetchTls, RefusesTheCertificateOfAnotherHost)
{
    MakeCertificate("elsewhere", "DNS:elsewhere.invalid,IP:127.0.0.2");
    const auto server = ServeHttp2("elsewhere");
    ExpectUntrusted(FetchTrusting(CaFile(), server->Url("/tile")));
}

TEST_F(KxNetGetchTls, TakesTrustBackThoughAConnectionWasKept)
{
    const auto server = ServeHttp2();
    ExpectTile(FetchTrusting(CaFile(), server->Url("/tile")), 20);
    ExpectUntrusted(FetchTrusting("", server->Url("/tile")));
    ExpectTile(FetchTrusting(CaFile(), server->Url("/tile")), 20);
}

TEST_F(KxNetGetchTls, MissingCaFileFailsTheRequestAndIsNamed)
{
    const auto server = ServeHttp2();
    const Fetched fetched = FetchTrusting(File("missing.pem"), server->Url("/tile"));
    EXPECT_EQ(6, fetched.result);
    EXPECT_THAT(fetched.Cause(), HasSubstr("KXTILE_CA_FILE"));
    EXPECT_THAT(fetched.Cause(), HasSubstr(File("missing.pem")));
}

TEST_F(KxNetGetchTls, RedirectDownToPlainHttpIsRefused)
{
    m_server.On("/tile", Answers(200, kTile));
    WriteFile(File("down"),
              "HTTP/1.0 302 Found\r\nLocation: " + m_server.Url("/tile") + "\r\n\r\n");
    const auto server = ServeHttp1("-HTTP");
    const Fetched fetched = FetchTrusting(CaFile(), server->Url("/down"));
    EXPECT_EQ(6, fetched.result);
    EXPECT_EQ(302, fetched.info.m_nHttpStatus);
    EXPECT_EQ(1, fetched.info.m_nAttempts);
    EXPECT_THAT(fetched.Cause(), HasSubstr("redirect from https to http refused"));
    EXPECT_EQ(0, m_server.RequestCount());
}

TEST_F(KxNetGetchTls, RedirectUpToHttpsIsFollowed)
{
    const auto server = ServeHttp2();
    m_server.On("/up", Answers(302, "", "Location: " + server->Url("/tile") + "\r\n"));
    ExpectTile(FetchTrusting(CaFile(), m_server.Url("/up")), 20);
}

TEST_F(KxNetGetchTls, CaFileDoesNotMatterToPlainHttp)
{
    m_server.On("/tile", Answers(200, kTile));
    ExpectTile(FetchTrusting(File("missing.pem"), m_server.Url("/tile")), 11);
}

class KxNetGetchCaVariable : public KxNetGetchTls, public ::testing::WithParamInterface<const char*>
{
};

TEST_P(KxNetGetchCaVariable, NamesTheCaFile)
{
    const auto server = ServeHttp2();
    const EnvironmentVariable variable(GetParam(), CaFile());
    ExpectTile(Fetch(server->Url("/tile")), 20);
}

INSTANTIATE_TEST_SUITE_P(Each,
                         KxNetGetchCaVariable,
                         ::testing::Values("KXTILE_CA_FILE", "CURL_CA_BUNDLE", "SSL_CERT_FILE"),
                         [](const auto& each) { return std::string(each.param); });

TEST_F(KxNetGetchTls, OurVariableOutranksTheOthers)
{
    const auto server = ServeHttp2();
    const std::string other = MakeCa("other");
    const EnvironmentVariable openssls("SSL_CERT_FILE", other);
    ExpectUntrusted(Fetch(server->Url("/tile")));
    const EnvironmentVariable curls("CURL_CA_BUNDLE", CaFile());
    ExpectTile(Fetch(server->Url("/tile")), 20);
    const EnvironmentVariable ours("KXTILE_CA_FILE", other);
    ExpectUntrusted(Fetch(server->Url("/tile")));
}

TEST_F(KxNetGetchTls, WhatCodeSetsOutranksTheEnvironment)
{
    const auto server = ServeHttp2();
    const EnvironmentVariable ours("KXTILE_CA_FILE", MakeCa("other"));
    ExpectTile(FetchTrusting(CaFile(), server->Url("/tile")), 20);
}

TEST_F(KxNetGetchTls, EmptyVariableCountsAsUnset)
{
    const auto server = ServeHttp2();
    const EnvironmentVariable ours("KXTILE_CA_FILE", "");
    const EnvironmentVariable curls("CURL_CA_BUNDLE", CaFile());
    ExpectTile(Fetch(server->Url("/tile")), 20);
}

} // namespace KxC::Testing
