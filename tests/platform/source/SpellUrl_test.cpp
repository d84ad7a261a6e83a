// SPDX-License-Identifier: MIT
#include "KxUrlSpelling.h"

#include <gtest/gtest.h>

#include <string>

namespace KxC {
namespace {

TEST(SpellUrl, LeavesOwnPlaceholdersAndOtherAddressesAsTheyAre)
{
    for (const char* url : {"https://h/{$z}/{$x}/{$y}?a=%20%d",
                            "https://{$serverpart}.h/{$quadkey}",
                            "https://h/%d/%d/%d",
                            "https://h/earth",
                            ""}) {
        const KxUrlSpelling spelling = SpellUrl(url);
        EXPECT_STREQ(spelling.m_strUrl.Cstr(), url);
        EXPECT_FALSE(spelling.m_bForeign);
        EXPECT_STREQ(spelling.m_strFault.Cstr(), "");
    }
}

TEST(SpellUrl, RewritesOtherProgramsPlaceholders)
{
    const KxUrlSpelling plain = SpellUrl("https://{s}.h/{z}/{x}/{y}?a=%20");
    EXPECT_STREQ(plain.m_strUrl.Cstr(), "https://{$serverpart}.h/{$z}/{$x}/{$y}?a=%20");
    EXPECT_TRUE(plain.m_bForeign);
    EXPECT_FALSE(plain.m_bRowsFromSouth);
    EXPECT_STREQ(SpellUrl("https://h/{TileMatrix}/{TileCol}/{TileRow}").m_strUrl.Cstr(),
                 "https://h/{$z}/{$x}/{$y}");
    EXPECT_STREQ(SpellUrl("https://h/{q}").m_strUrl.Cstr(), "https://h/{$quadkey}");
}

TEST(SpellUrl, TellsWhatThePlaceholdersSayBesides)
{
    const KxUrlSpelling spelling = SpellUrl("https://{a-c}.h/{z+1}/{x}/{-y}");
    EXPECT_STREQ(spelling.m_strUrl.Cstr(), "https://{$serverpart}.h/{$z}/{$x}/{$y}");
    EXPECT_STREQ(spelling.m_strServerParts.Cstr(), "a,b,c");
    EXPECT_EQ(spelling.m_nLevelOffset, 1);
    EXPECT_TRUE(spelling.m_bRowsFromSouth);
}

TEST(SpellUrl, RefusesWhatOnlyAScriptCanSay)
{
    for (const char* url :
         {"https://h/{z}/{x}/{y}/{x}", "https://h/{z}/{x}/{y}/{-y}", "https://h/{z}/{x}/{y}?s={s}"})
        EXPECT_NE(std::string(SpellUrl(url).m_strFault.Cstr()).find("definition"),
                  std::string::npos)
            << url;
}

} // namespace
} // namespace KxC
