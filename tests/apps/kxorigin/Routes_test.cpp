// SPDX-License-Identifier: MIT
#include "Routes.h"

#include "Conventions.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace KxOrigin {
namespace {

/// @param address  path and query
Answer Get(const std::string& address)
{
    const std::size_t mark = std::min(address.find('?'), address.size());
    const std::string query = address.substr(std::min(mark + 1, address.size()));
    return Route({"GET", address.substr(0, mark), "KxTile/0.1.0", "", query});
}

/// The order behind a path; a failed test and an empty order when there is none.
TileOrder OrderOf(const std::string& path)
{
    const Answer answer = Get(path);
    const auto* order = std::get_if<TileOrder>(&answer);
    EXPECT_NE(order, nullptr) << path;
    return order == nullptr ? TileOrder{} : *order;
}

int StatusOf(const Answer& answer)
{
    const auto* text = std::get_if<TextAnswer>(&answer);
    return text == nullptr ? 200 : text->status;
}

PixelWindow Tile(int level, int column, int row)
{
    return {level, column * 256, row * 256};
}

TEST(Routes, XyzNamesPictureTileAndFormat)
{
    const TileOrder order = OrderOf("/xyz/graticule/3/5/2.webp");
    EXPECT_EQ(order.picture, PictureKind::Graticule);
    EXPECT_EQ(order.grid, GridKind::WebMercator);
    EXPECT_EQ(order.window, Tile(3, 5, 2));
    EXPECT_EQ(order.format, Format::WebP);
    EXPECT_EQ(order.dressing, Dressing::Plain);
    EXPECT_EQ(OrderOf("/xyz/marble/0/0/0.jpg").format, Format::Jpeg);
}

TEST(Routes, EveryConventionReachesTheSameTile)
{
    // Column 3, row 5 from the north of level 3.
    for (const char* path : {"/tms/marble/3/3/2.png",
                             "/quadkey/marble/213.png",
                             "/offset/marble/2/5/3/5.png",
                             "/offset/marble/-1/2/3/5.png",
                             "/axis/marble/zxy/3/3/5.png",
                             "/axis/marble/xyz/3/5/3.png",
                             "/axis/marble/zyx/3/5/3.png",
                             "/axis/marble/xzy/3/3/5.png",
                             "/axis/marble/yxz/5/3/3.png",
                             "/axis/marble/yzx/5/3/3.png",
                             "/server/a/marble/3/3/5.png",
                             "/server/c/marble/3/3/5.png",
                             "/agent/marble/3/3/5.png",
                             "/agent-is/KxTile%2f0.1.0/marble/3/3/5.png"})
        EXPECT_EQ(OrderOf(path).window, Tile(3, 3, 5)) << path;
}

TEST(Routes, GeographicConventions)
{
    EXPECT_EQ(OrderOf("/geographic/marble/2/3/1.png").window, Tile(2, 3, 1));
    EXPECT_EQ(OrderOf("/geographic-tms/marble/2/3/1.png").window, Tile(2, 3, 2));
    EXPECT_EQ(OrderOf("/tianditu/marble/2/3/0.png").window, Tile(2, 3, 1));
    EXPECT_EQ(OrderOf("/tianditu/marble/2/3/1.png").grid, GridKind::Geographic);
}

TEST(Routes, ShiftedDatumsAndLargeTiles)
{
    EXPECT_EQ(OrderOf("/xyz-gcj02/graticule/3/5/2.png").grid, GridKind::WebMercatorGcj02);
    EXPECT_EQ(OrderOf("/xyz-bd09/graticule/3/5/2.png").grid, GridKind::WebMercatorBd09);
    EXPECT_EQ(OrderOf("/xyz-bd09/graticule/3/5/2.png").window, Tile(3, 5, 2));
    EXPECT_EQ(OrderOf("/xyz-512/marble/3/5/2.png").window, (PixelWindow{4, 2560, 1024, 512}));
    EXPECT_EQ(OrderOf("/geographic-512/marble/1/0/0.png").grid, GridKind::Geographic);
    EXPECT_EQ(StatusOf(Get("/xyz-512/marble/22/0/0.png")), 404);
}

TEST(Routes, BaiduNumbersStandInTheQueryInAnyOrder)
{
    const TileOrder order = OrderOf("/baidu/graticule.jpg?qt=tile&z=2&y=M1&x=0&styles=pl");
    EXPECT_EQ(order.picture, PictureKind::Graticule);
    EXPECT_EQ(order.grid, GridKind::Baidu);
    EXPECT_EQ(order.format, Format::Jpeg);
    EXPECT_EQ(order.window, (PixelWindow{2, 512, 512}));
    EXPECT_EQ(StatusOf(Get("/baidu/marble.png?x=9&y=0&z=2")), 404);
    for (const char* path : {"/baidu/marble.png",
                             "/baidu/marble.png?x=-1&y=0&z=2",
                             "/baidu/marble.png?x=1&y=0",
                             "/baidu/moon.png?x=1&y=0&z=2",
                             "/baidu/marble?x=1&y=0&z=2",
                             "/baidu/marble/0/0/0.png?x=1&y=0&z=2"})
        EXPECT_EQ(StatusOf(Get(path)), 400) << path;
}

TEST(Routes, EarthServersHaveTwoFiles)
{
    const auto orderOf = [](const std::string& address) {
        const Answer answer = Get(address);
        return std::holds_alternative<EarthOrder>(answer);
    };
    EXPECT_TRUE(orderOf("/earth/dbRoot.v5?output=proto"));
    EXPECT_TRUE(orderOf("/earth/flatfile?q2-0-q.171"));
    EXPECT_TRUE(orderOf("/earth-with/proto,png/dbRoot.v5?db=tm&output=proto"));
    EXPECT_TRUE(orderOf("/earth-broken/image-half/flatfile?f1-0-i.3"));
    EXPECT_EQ(StatusOf(Get("/earth")), 404);
    EXPECT_EQ(StatusOf(Get("/earth/")), 404);
    EXPECT_EQ(StatusOf(Get("/earth/flatfile?t-0")), 404);
    EXPECT_EQ(StatusOf(Get("/earth-with/moon/dbRoot.v5")), 400);
    EXPECT_EQ(StatusOf(Get("/earth-broken/image-bomb/dbRoot.v5")), 400);
    EXPECT_EQ(StatusOf(Get("/earth-with/key/dbRoot.v5")), 403);
    EXPECT_EQ(StatusOf(Route({"GET", "/earth-with/key/dbRoot.v5", "", "let-me-in"})), 200);
}

TEST(Routes, DressedTiles)
{
    EXPECT_EQ(OrderOf("/gzip/marble/0/0/0.jpg").dressing, Dressing::GZip);
    EXPECT_EQ(OrderOf("/gzip-stored/marble/0/0/0.png").dressing, Dressing::GZipStored);
    EXPECT_EQ(OrderOf("/gzip-bomb/marble/0/0/0.png").dressing, Dressing::GZipBomb);
    EXPECT_EQ(StatusOf(Get("/gzip-bomb/marble/0/0/0.jpg")), 400);
    EXPECT_EQ(OrderOf("/truncated/marble/0/0/0.png").dressing, Dressing::Truncated);
    EXPECT_EQ(OrderOf("/empty/marble/0/0/0.png").dressing, Dressing::Empty);
    EXPECT_EQ(OrderOf("/html/marble/0/0/0.png").dressing, Dressing::Html);
}

TEST(Routes, GuardsLetOnlyTheRightCallersIn)
{
    const std::string tile = "/marble/0/0/0.png";
    EXPECT_EQ(StatusOf(Route({"GET", "/key" + tile, "", "let-me-in"})), 200);
    EXPECT_EQ(StatusOf(Route({"GET", "/key" + tile, "", "let-me-in "})), 403);
    EXPECT_EQ(StatusOf(Route({"GET", "/key" + tile, "", ""})), 403);
    EXPECT_EQ(StatusOf(Route({"GET", "/agent" + tile, "Mozilla KxTile", ""})), 403);
    EXPECT_EQ(StatusOf(Route({"GET", "/agent" + tile, "KxTile", ""})), 200);
    EXPECT_EQ(StatusOf(Route({"GET", "/agent-is/me" + tile, "me", ""})), 200);
    EXPECT_EQ(StatusOf(Route({"GET", "/agent-is/me" + tile, "me too", ""})), 403);
    EXPECT_EQ(StatusOf(Get("/server/d" + tile)), 403);
    EXPECT_EQ(StatusOf(Get("/server")), 403);
}

TEST(Routes, TilesOutsideTheGridAreNotFound)
{
    for (const char* path : {"/xyz/marble/23/0/0.png",
                             "/xyz/marble/-1/0/0.png",
                             "/xyz/marble/1/2/0.png",
                             "/xyz/marble/1/0/-1.png",
                             "/xyz/marble/1/0/99999999999999999999999999.png",
                             "/tms/marble/99999999999999999999/0/0.png",
                             "/offset/marble/-99999999999999999999/99999999999999999999/0/0.png",
                             "/quadkey/marble/.png",
                             "/tianditu/marble/2/0/2.png",
                             "/nowhere"})
        EXPECT_EQ(StatusOf(Get(path)), 404) << path;
}

TEST(Routes, MalformedAddressesSayWhy)
{
    for (const char* path : {"/xyz",
                             "/xyz/marble/0/0",
                             "/xyz/marble/0/0/0",
                             "/xyz/marble/0/0/0.gif",
                             "/xyz/marble/0/0/.png",
                             "/xyz/marble/0/0/0.png/",
                             "/xyz/marble/0//0.png",
                             "/xyz/marble/a/0/0.png",
                             "/xyz/marble/0/0%2F0.png",
                             "/xyz/moon/0/0/0.png",
                             "/xyz/marble/0/0/%zz.png",
                             "/xyz/marble/0/0/%00.png",
                             "/quadkey/marble/4.png",
                             "/quadkey/marble",
                             "/axis/marble/xxy/0/0/0.png",
                             "/axis/marble/0/0/0.png",
                             "/offset/marble/0/0/0.png",
                             "/offset/marble/x/0/0/0.png",
                             "/status/200",
                             "/status/600",
                             "/status/x",
                             "/status"}) {
        const Answer answer = Get(path);
        ASSERT_EQ(StatusOf(answer), 400) << path;
        EXPECT_GT(std::get<TextAnswer>(answer).text.size(), 10U) << path;
    }
}

TEST(Routes, WantedStatusesWhateverFollows)
{
    EXPECT_EQ(StatusOf(Get("/status/404/1/2/3.png")), 404);
    EXPECT_EQ(StatusOf(Get("/status/500")), 500);
    EXPECT_EQ(StatusOf(Get("/status/503/%41//")), 503);
    EXPECT_EQ(std::get<TextAnswer>(Get("/status/204/x")).text, "");
}

TEST(Routes, OtherMethodsAndOverlongPathsAreRefused)
{
    EXPECT_EQ(StatusOf(Route({"POST", "/xyz/marble/0/0/0.png", "", ""})), 405);
    EXPECT_EQ(StatusOf(Route({"HEAD", "/xyz/marble/0/0/0.png", "", ""})), 200);
    EXPECT_EQ(StatusOf(Get("/" + std::string(2048, 'x'))), 414);
    EXPECT_EQ(StatusOf(Get("/xyz" + std::string(2044, '/'))), 400);
}

TEST(Routes, TheFirstPageListsEveryRoute)
{
    const auto page = std::get<TextAnswer>(Get("/")).text;
    for (const char* route :
         {"xyz",         "xyz-512",    "xyz-gcj02",    "xyz-bd09",       "baidu",
          "tms",         "quadkey",    "geographic",   "geographic-tms", "geographic-512",
          "tianditu",    "offset",     "axis",         "server",         "gzip",
          "gzip-stored", "gzip-bomb",  "key",          "agent",          "agent-is",
          "earth",       "earth-with", "earth-broken", "status",         "truncated",
          "empty",       "html"})
        EXPECT_NE(page.find("/" + std::string(route) + "/"), std::string::npos) << route;
}

} // namespace
} // namespace KxOrigin
