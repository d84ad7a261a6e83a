// SPDX-License-Identifier: MIT
#include "forms/UrlPieces.h"

#include "KxTileFetcher.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace KxTileHost {
namespace {

/// A record as a loader leaves it.
std::unique_ptr<KxC::KxTSDParamItem>
Record(const std::string& urlTemplate, int scheme = 10, int axisOrder = 0, bool server = false)
{
    auto source = std::make_unique<KxC::KxTSDParamItem>();
    source->m_strUrlTemplate = urlTemplate.c_str();
    source->m_nTileScheme = scheme;
    source->m_nAxisOrder = axisOrder;
    source->m_bHasServerPart = server ? 1 : 0;
    if (server)
        source->m_arrServerParts.Add("srv");
    return source;
}

TEST(UrlPieces, AreWrittenWithThePlaceholdersOfADefinition)
{
    EXPECT_EQ(ReadableUrl(*Record("http://h/%d/%d/%d.png")), "http://h/{$z}/{$x}/{$y}.png");
    EXPECT_EQ(ReadableUrl(*Record("http://h/%d/%d/%d.png", 10, 5)), "http://h/{$y}/{$z}/{$x}.png");
    EXPECT_EQ(ReadableUrl(*Record("http://%s/%d/%d/%d", 10, 1, true)),
              "http://{$serverpart}/{$x}/{$y}/{$z}");
    EXPECT_EQ(ReadableUrl(*Record("http://%s/%s", 6, 0, true)), "http://{$serverpart}/{$quadkey}");
    EXPECT_EQ(ReadableUrl(*Record("http://h/%20%%d%%%d/%d/%d%%")),
              "http://h/%20%d%{$z}/{$x}/{$y}%");
}

TEST(UrlPieces, LeaveWhatDefinitionsCannotSayAsItIs)
{
    EXPECT_EQ(ReadableUrl(*Record("http://h/%d/%d")), "http://h/%d/%d");
    EXPECT_EQ(ReadableUrl(*Record("http://h/db?x=%d", 8)), "http://h/db?x=%d");
    EXPECT_EQ(ReadableUrl(*Record("")), "");
    EXPECT_EQ(ReadableUrl(*Record("%")), "%");
    auto scripted = Record("tiles-%d%d%d.lua");
    scripted->m_bLuaScripted = 1;
    EXPECT_EQ(ReadableUrl(*scripted), "tiles-%d%d%d.lua");
}

TEST(UrlPieces, FilledInGiveTheUrlsOfTheLibrary)
{
    // Templates of pieces that matter, in any order; the seed is fixed so that a failure stays.
    std::mt19937 random(20261121);
    const std::string parts[] = {"%d", "%s", "%%", "%", "d", "s", "/", "x=", "%2", "{$x}"};
    for (int round = 0; round < 20000; ++round) {
        std::string urlTemplate = "h";
        for (auto count = random() % 10; count > 0; --count)
            urlTemplate += parts[random() % std::size(parts)];
        const int scheme = random() % 4 == 0 ? 6 : 10;
        const auto source =
            Record(urlTemplate, scheme, static_cast<int>(random() % 7), random() % 2 == 0);
        // Column 5, row 2 from the south (5 from the north), level 3; its quadkey is x + 2 y per
        // bit: 101 and 101.
        const UrlWords words{"srv", "5", "5", "3", "303"};
        ASSERT_EQ(WriteUrl(UrlPiecesOf(*source), words),
                  KxC::KxTileFetcher::GetURL(source.get(), 3, 2, 5).Cstr())
            << urlTemplate << " scheme " << scheme;
    }
}

} // namespace
} // namespace KxTileHost
