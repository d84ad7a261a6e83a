// SPDX-License-Identifier: MIT
#include "serve/TileService.h"

#include "serve/Transcode.h"

#include <gtest/gtest.h>

#include <memory>
#include <set>

namespace {

using namespace KxTileHost::Serve;

TEST(TileService, MakesEachBlankTileOnce)
{
    SourceFacts facts;
    facts.m_bounds = KxC::KxRect2d{170.0, 10.0, 171.0, 9.0};
    facts.m_missing = MissingTile::Blank;
    const auto source = std::make_shared<const Source>(facts);
    Metrics metrics("1");
    TileService service({}, metrics);
    std::set<const Answer*> seen;
    for (const int size : {kTileSize, 2 * kTileSize})
        for (const TileFormat format :
             {TileFormat::Natural, TileFormat::Png, TileFormat::Jpeg, TileFormat::WebP}) {
            const AnswerPtr first = service.Tile(source, {5, 0, 0, size, format, 0}).m_answer;
            const AnswerPtr second = service.Tile(source, {5, 1, 0, size, format, 0}).m_answer;
            ASSERT_NE(first, nullptr);
            EXPECT_EQ(first, second);
            EXPECT_EQ(FormatOf(first->m_body.Data(), first->m_body.Size()),
                      format == TileFormat::Natural ? TileFormat::Png : format);
            seen.insert(first.get());
        }
    EXPECT_EQ(seen.size(), 8U);
}

} // namespace
