// SPDX-License-Identifier: MIT
#include "serve/Answer.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace KxTileHost::Serve;

TEST(Answer, MatchesAnETagInAListAndWeakened)
{
    EXPECT_TRUE(MatchesETag("\"a\"", "\"a\""));
    EXPECT_TRUE(MatchesETag(" \"b\" , W/\"a\"", "\"a\""));
    EXPECT_TRUE(MatchesETag("*", "\"a\""));
    EXPECT_FALSE(MatchesETag("\"ab\"", "\"a\""));
    EXPECT_FALSE(MatchesETag("a", "\"a\""));
    EXPECT_FALSE(MatchesETag("", "\"a\""));
    EXPECT_FALSE(MatchesETag(",,,", "\"a\""));
}

TEST(Answer, HasAnETagOfItsBytesAlone)
{
    const std::string bytes("with a \0 in it", 14);
    const std::string other("with a \0 In it", 14);
    EXPECT_EQ(ETagOf(Body::OfText(bytes)), ETagOf(Body::OfStatic(bytes.data(), bytes.size())));
    EXPECT_NE(ETagOf(Body::OfText(bytes)), ETagOf(Body::OfText(other)));
    EXPECT_NE(ETagOf(Body::OfText("")), ETagOf(Body::OfText(std::string(1, '\0'))));
}

TEST(Answer, OfWordsIsOneLineThatNoCacheKeeps)
{
    const auto answer = TextAnswer(502, "first\r\nX-Header: second\tthird");
    const std::string body(reinterpret_cast<const char*>(answer->m_body.Data()),
                           answer->m_body.Size());
    EXPECT_EQ(body, "first  X-Header: second third\n");
    EXPECT_EQ(answer->m_cacheControl, "no-store");
}

} // namespace
