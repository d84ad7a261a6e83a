// SPDX-License-Identifier: MIT
#include "Faults.h"

#include <gtest/gtest.h>

namespace KxOrigin {
namespace {

class FaultsTest : public ::testing::Test
{
protected:
    /// What befalls a GET; its path, as the router sees it, is in m_request.
    std::optional<Fault> Meet(const std::string& uri, const std::string& method = "GET")
    {
        m_request = {};
        m_request.method = method;
        m_request.path = uri.substr(0, uri.find('?'));
        return m_faults.Meet(m_request, uri);
    }
    Faults m_faults;
    Request m_request;
};

TEST_F(FaultsTest, LeaveOtherAddressesAlone)
{
    EXPECT_FALSE(Meet("/xyz/marble/0/0/0.png"));
    EXPECT_EQ(m_request.path, "/xyz/marble/0/0/0.png");
}

TEST_F(FaultsTest, CutTheTilesRouteOut)
{
    const auto fault = Meet("/fault/late-250/3/xyz/marble/0/0/0.png?a=1&b=/x");
    ASSERT_TRUE(fault);
    EXPECT_EQ(fault->kind->name, "late");
    EXPECT_EQ(fault->number, 250);
    EXPECT_EQ(fault->times, 3);
    EXPECT_EQ(fault->route, "/xyz/marble/0/0/0.png?a=1&b=/x");
    EXPECT_EQ(m_request.path, "/xyz/marble/0/0/0.png");
}

TEST_F(FaultsTest, BefallEachAddressAsOftenAsAsked)
{
    for (int i = 0; i < 2; ++i) {
        EXPECT_TRUE(Meet("/fault/drop/2/xyz/marble/1/0/0.png"));
        EXPECT_TRUE(Meet("/fault/drop/2/xyz/marble/1/0/1.png"));
        EXPECT_TRUE(Meet("/fault/drop/2/tile.png?x=1"));
        EXPECT_TRUE(Meet("/fault/drop/2/tile.png?x=2"));
    }
    EXPECT_FALSE(Meet("/fault/drop/2/xyz/marble/1/0/0.png"));
    EXPECT_EQ(m_request.path, "/xyz/marble/1/0/0.png");
    EXPECT_FALSE(Meet("/fault/drop/2/tile.png?x=2"));
}

TEST_F(FaultsTest, NeverEndWhereAlwaysIsAsked)
{
    for (int i = 0; i < 100; ++i)
        EXPECT_TRUE(Meet("/fault/drop/always/xyz/marble/0/0/0.png"));
}

TEST_F(FaultsTest, BefallNothingButGets)
{
    EXPECT_FALSE(Meet("/fault/drop/1/xyz/marble/0/0/0.png", "HEAD"));
    EXPECT_EQ(m_request.path, "/xyz/marble/0/0/0.png");
    EXPECT_TRUE(Meet("/fault/drop/1/xyz/marble/0/0/0.png"));
}

TEST_F(FaultsTest, CountAnewWhenAddressesAreTooMany)
{
    const std::string first = "/fault/drop/1/0";
    EXPECT_TRUE(Meet(first));
    for (std::size_t i = 1; i < Faults::kMostAddresses; ++i)
        EXPECT_TRUE(Meet("/fault/drop/1/" + std::to_string(i)));
    EXPECT_FALSE(Meet(first));
    EXPECT_TRUE(Meet("/fault/drop/1/more"));
    EXPECT_TRUE(Meet(first));
}

TEST_F(FaultsTest, LeaveMalformedAddressesToTheRouter)
{
    for (const char* uri : {"/fault",
                            "/fault/",
                            "/fault/drop",
                            "/fault/drop/",
                            "/fault/drop/1",
                            "/fault/drop/1/",
                            "/fault/drop/0/x",
                            "/fault/drop/-1/x",
                            "/fault/drop/1000001/x",
                            "/fault/drop/99999999999999999999/x",
                            "/fault/drop/never/x",
                            "/fault/other/1/x",
                            "/fault//1/x",
                            "/faults/drop/1/x"}) {
        EXPECT_FALSE(Meet(uri)) << uri;
        EXPECT_EQ(m_request.path, uri);
    }
}

TEST(FaultUsage, IsWhatAMalformedAddressGets)
{
    const Answer answer = Route({"GET", "/fault/other/1/xyz/marble/0/0/0.png", "", ""});
    const auto* text = std::get_if<TextAnswer>(&answer);
    ASSERT_NE(text, nullptr);
    EXPECT_EQ(text->status, 400);
    EXPECT_NE(text->text.find("/fault/{kind}/{times}/{route}"), std::string::npos);
}

} // namespace
} // namespace KxOrigin
