// SPDX-License-Identifier: MIT
#include "serve/HostRule.h"

#include <gtest/gtest.h>

namespace {

using namespace KxTileHost::Serve;

TEST(HostRule, AllowsEveryNameOnLoopback)
{
    for (const char* address : {"127.0.0.1", "127.1.2.3", "::1"})
        EXPECT_TRUE(HostRule(address, {}).Allows("evil.example", address)) << address;
}

TEST(HostRule, AllowsItsOwnAddressAndNamesElsewhere)
{
    const HostRule rule("0.0.0.0", {"Maps.example.org"});
    EXPECT_TRUE(rule.Allows("192.168.1.5:8480", "192.168.1.5"));
    EXPECT_TRUE(rule.Allows("maps.EXAMPLE.org.", "192.168.1.5"));
    EXPECT_TRUE(rule.Allows("localhost:8480", "192.168.1.5"));
    EXPECT_TRUE(rule.Allows("[fe80::1]:8480", "fe80::1"));
    EXPECT_FALSE(rule.Allows("192.168.1.6", "192.168.1.5"));
    EXPECT_FALSE(rule.Allows("maps.example.org.evil.example", "192.168.1.5"));
    EXPECT_FALSE(rule.Allows("", ""));
    EXPECT_FALSE(rule.Allows(nullptr, "192.168.1.5"));
}

TEST(HostRule, TellsNamesFromMarkup)
{
    EXPECT_TRUE(IsPlainHost("maps.example.org:8480"));
    EXPECT_TRUE(IsPlainHost("[::1]:8480"));
    for (const char* host : {"", "a b", "a\"b", "a/b", "<a>", "a{x}", "a%41"})
        EXPECT_FALSE(IsPlainHost(host)) << host;
}

} // namespace
