// SPDX-License-Identifier: MIT
#include "serve/Route.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace KxTileHost::Serve;

TEST(Route, ReadsATileInEachFormat)
{
    const Route route = ParsePath("/osm/7/67/44@2x.webp");
    EXPECT_EQ(route.m_kind, Route::kTile);
    EXPECT_EQ(route.m_source, "osm");
    EXPECT_EQ(route.m_fault, "");
    EXPECT_EQ(route.m_tile, (TileRequest{7, 67, 44, 512, TileFormat::WebP, 0}));
    EXPECT_EQ(ParsePath("/osm/7/67/44").m_tile,
              (TileRequest{7, 67, 44, 256, TileFormat::Natural, 0}));
    EXPECT_EQ(ParsePath("/osm/7/67/44.jpeg").m_tile.m_format, TileFormat::Jpeg);
    EXPECT_EQ(ParsePath("/osm/raw/7/67/-44").m_tile,
              (TileRequest{7, 67, -44, 256, TileFormat::Natural, 0}));
    EXPECT_EQ(ParsePath("/osm/raw/7/67/44").m_kind, Route::kRawTile);
}

TEST(Route, TakesTheRowFirstInWmtsAndFromTheSouthInTms)
{
    const Route wmts = ParsePath("/wmts/osm/default/GoogleMapsCompatible/7/44/67.png");
    EXPECT_EQ(wmts.m_tile, (TileRequest{7, 67, 44, 256, TileFormat::Png, 0}));
    EXPECT_FALSE(wmts.m_southRows);
    const Route tms = ParsePath("/tms/1.0.0/osm/7/67/44.png");
    EXPECT_EQ(tms.m_tile, (TileRequest{7, 67, 44, 256, TileFormat::Png, 0}));
    EXPECT_TRUE(tms.m_southRows);
    EXPECT_EQ(ParsePath("/wmts/osm/default/WGS84/7/44/67.png").m_kind, Route::kMalformed);
}

TEST(Route, ReadsATileOfWmtsInKeyValueForm)
{
    const Route route =
        WmtsTileRoute({"osm", "default", "GoogleMapsCompatible", "7", "44", "67", "image/jpeg"});
    EXPECT_EQ(route.m_kind, Route::kTile);
    EXPECT_EQ(route.m_source, "osm");
    EXPECT_EQ(route.m_tile, (TileRequest{7, 67, 44, 256, TileFormat::Jpeg, 0}));
    EXPECT_EQ(WmtsTileRoute({"osm", "", "", "7", "44", "67", ""}).m_tile,
              (TileRequest{7, 67, 44, 256, TileFormat::Png, 0}));
    EXPECT_EQ(WmtsTileRoute({"osm", "night", "", "7", "44", "67", ""}).m_kind, Route::kMalformed);
    EXPECT_EQ(WmtsTileRoute({"osm", "", "WGS84", "7", "44", "67", ""}).m_kind, Route::kMalformed);
    EXPECT_EQ(WmtsTileRoute({"osm", "", "", "7", "44", "67", "image/gif"}).m_kind,
              Route::kMalformed);
    EXPECT_NE(WmtsTileRoute({"osm", "", "", "7", "", "67", ""}).m_fault, "");
    EXPECT_NE(WmtsTileRoute({"osm", "", "", "7", "44", "67@2x.png", ""}).m_fault, "");
}

TEST(Route, NotesWhatCanBeNoTile)
{
    for (const char* path : {"/osm/a/1/1",
                             "/osm/1/1x/1",
                             "/osm/1/1/1@3x",
                             "/osm/1/1/1.gif",
                             "/osm/1/ 1/1",
                             "/osm/1/0x1/1",
                             "/osm/1/4294967296/1"})
        EXPECT_NE(ParsePath(path).m_fault, "") << path;
}

TEST(Route, TakesTileMatrixSetsThatEndAtALevel)
{
    for (const std::string set : {"", "_Level0", "_Level30"})
        EXPECT_EQ(ParsePath("/wmts/osm/default/GoogleMapsCompatible" + set + "/7/44/67.png").m_kind,
                  Route::kTile)
            << set;
    for (const std::string set : {"x", "_Level", "_Level31", "_Level1x", "_level1"})
        EXPECT_EQ(ParsePath("/wmts/osm/default/GoogleMapsCompatible" + set + "/7/44/67.png").m_kind,
                  Route::kMalformed)
            << set;
    EXPECT_EQ(MatrixSetTo(12), "GoogleMapsCompatible_Level12");
}

TEST(Route, KnowsItsFixedPathsWithAndWithoutASlashAtTheEnd)
{
    EXPECT_EQ(ParsePath("/tms/1.0.0/").m_kind, Route::kTmsService);
    EXPECT_EQ(ParsePath("/tms").m_kind, Route::kTmsService);
    EXPECT_EQ(ParsePath("/sources.json").m_kind, Route::kSources);
    EXPECT_EQ(ParsePath("/osm.json").m_kind, Route::kTileJson);
    EXPECT_EQ(ParsePath("/osm.xml").m_kind, Route::kGdalXml);
    EXPECT_EQ(ParsePath("/osm/dates.json").m_kind, Route::kDates);
    EXPECT_EQ(ParsePath("/").m_name, "index.html");
    EXPECT_EQ(ParsePath("/page/fonts/a.woff2").m_name, "fonts/a.woff2");
    EXPECT_EQ(ParsePath("/nowhere").m_kind, Route::kUnknown);
}

TEST(Route, NeverLetsAnEncodedSlashSeparateOrHide)
{
    EXPECT_EQ(ParsePath("/osm%2F7/67/44/1").m_kind, Route::kMalformed);
    EXPECT_EQ(ParsePath("/a/b/c/d%2fe").m_kind, Route::kMalformed);
    EXPECT_EQ(ParsePath("/%6Fsm/7/67/44").m_source, "osm");
    EXPECT_EQ(ParsePath("/%6/7/67/44").m_kind, Route::kMalformed);
    EXPECT_EQ(ParsePath("/%/7/67/44").m_kind, Route::kMalformed);
    EXPECT_EQ(ParsePath("osm").m_kind, Route::kMalformed);
    EXPECT_EQ(ParsePath("").m_kind, Route::kMalformed);
}

TEST(Route, RefusesPathsOfEndlessParts)
{
    std::string path;
    for (int i = 0; i < 10000; ++i)
        path += "/a";
    EXPECT_EQ(ParsePath(path).m_kind, Route::kMalformed);
}

} // namespace
