// SPDX-License-Identifier: MIT
#include "UrlTemplate.h"

#include <gtest/gtest.h>

#include <string>

namespace KxC {
namespace {

std::string Fill(const char* urlTemplate, std::initializer_list<UrlArgument> arguments)
{
    return FillUrlTemplate(urlTemplate, arguments).Cstr();
}

TEST(UrlTemplate, FillsConversionsInTheirOrder)
{
    const KxString server("a");
    EXPECT_EQ(Fill("http://%s.t/%d/%d/%d", {server, 3, -4, 5}), "http://a.t/3/-4/5");
}

TEST(UrlTemplate, FillsAnyConversionWithAnyKindOfArgument)
{
    const KxString text("abc");
    EXPECT_EQ(Fill("%d-%s", {text, 7}), "abc-7");
}

TEST(UrlTemplate, KeepsConversionsWithoutArgument)
{
    EXPECT_EQ(Fill("%d/%d/%d", {1, 2}), "1/2/%d");
    EXPECT_EQ(Fill("%s", {}), "%s");
}

TEST(UrlTemplate, DropsArgumentsWithoutConversion)
{
    EXPECT_EQ(Fill("/%d", {1, 2, 3}), "/1");
}

TEST(UrlTemplate, WritesADoubledPercentOnce)
{
    EXPECT_EQ(Fill("%%d%%%d%%", {9}), "%d%9%");
    EXPECT_EQ(Fill("%%", {}), "%");
}

TEST(UrlTemplate, KeepsEveryOtherPercentSequence)
{
    EXPECT_EQ(Fill("a%20b%2Fc%n%5d%-d%.3s%lu%%%", {1}), "a%20b%2Fc%n%5d%-d%.3s%lu%%");
    EXPECT_EQ(Fill("%", {1}), "%");
    EXPECT_EQ(Fill("x%", {}), "x%");
}

TEST(UrlTemplate, DoesNotReadFilledTextAsTemplate)
{
    const KxString hostile("%d%s%n");
    EXPECT_EQ(Fill("%s/%d", {hostile, 1}), "%d%s%n/1");
}

TEST(UrlTemplate, WritesTheExtremeNumbers)
{
    EXPECT_EQ(Fill("%d %d", {-2147483647 - 1, 2147483647}), "-2147483648 2147483647");
}

} // namespace
} // namespace KxC
