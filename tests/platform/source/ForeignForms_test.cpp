// SPDX-License-Identifier: MIT
#include "RecordOnDisk.h"

#include <gmock/gmock.h>

namespace KxC {
namespace {

using test::LoadedRecord;
using ::testing::AnyOf;
using ::testing::HasSubstr;

// TileJSON

TEST(TileJson, GivesTheRecordItsFields)
{
    LoadedRecord record(R"({
  "tilejson": "3.0.0",
  "name": "Survey \u56fe",
  "description": "Of 2024",
  "version": "1.2.0",
  "attribution": "© Surveyors",
  "tiles": ["https://tiles.test/{z}/{x}/{y}.png"],
  "minzoom": 2, "maxzoom": 17,
  "bounds": [73.5, -3.25, 135, 53],
  "center": [0, 0, 1]
})");
    KxTSDParamItem& item = record.Item();
    EXPECT_EQ(record.messages, "");
    EXPECT_EQ(record.UrlFromNorth(3, 5, 6), "https://tiles.test/3/6/5.png");
    EXPECT_EQ(item.m_nTileScheme, 10);
    EXPECT_EQ(item.m_nTileSize, 256);
    EXPECT_STREQ(item.m_strAttr1.Cstr(), "Survey 图");
    EXPECT_STREQ(item.m_strAttr2.Cstr(), "© Surveyors");
    EXPECT_STREQ(item.m_strAttr4.Cstr(), "Of 2024");
    EXPECT_STREQ(item.m_strVersion.Cstr(), "1.2.0");
    EXPECT_EQ(item.m_levelBounds.m_nMinLevel, 2);
    EXPECT_EQ(item.m_levelBounds.m_nMaxLevel, 17);
    EXPECT_EQ(item.m_levelBounds.m_rect.m_dLeft, 73.5);
    EXPECT_EQ(item.m_levelBounds.m_rect.m_dBottom, -3.25);
    EXPECT_EQ(item.m_levelBounds.m_rect.m_dRight, 135.0);
    EXPECT_EQ(item.m_levelBounds.m_rect.m_dTop, 53.0);
    EXPECT_EQ(item.m_bOption3, 1);
}

std::string TileJson(const std::string& tiles, const std::string& more = "")
{
    return "\xEF\xBB\xBF\n {\"tilejson\": \"2.2.0\",\n\"tiles\": " + tiles + more + "}";
}

TEST(TileJson, CountsRowsFromTheSouthForTms)
{
    LoadedRecord record(TileJson(R"(["http://a/{z}/{x}/{y}"])", R"(, "scheme": "tms")"));
    EXPECT_EQ(record.messages, "");
    EXPECT_EQ(record.UrlFromNorth(3, 5, 6), "http://a/3/6/2");
}

TEST(TileJson, TakesNumbersInAnySpelling)
{
    LoadedRecord record(TileJson(R"(["http://a/{z}/{x}/{y}"])",
                                 ",\n\"version\": 1, \"minzoom\": 2.0, \"maxzoom\": 1.7e1"));
    EXPECT_EQ(record.messages,
              "warning 4 version: is a number and read as text; write it in quotes\n");
    EXPECT_EQ(record.Item().m_levelBounds.m_nMinLevel, 2);
    EXPECT_EQ(record.Item().m_levelBounds.m_nMaxLevel, 17);
}

TEST(TileJson, TakesTheTileSizeThatWebMapsWrite)
{
    LoadedRecord record(TileJson(R"(["http://a/{z}/{x}/{y}"])", R"(, "tileSize": 512)"));
    EXPECT_EQ(record.Item().m_nTileSize, 512);
}

TEST(TileJson, MakesServersOfAddressesThatDifferThere)
{
    LoadedRecord record(
        TileJson(R"(["https://t10.a.test/{z}/{x}/{y}", "https://t11.a.test/{z}/{x}/{y}"])"));
    EXPECT_EQ(record.messages, "");
    ASSERT_EQ(record.Item().m_arrServerParts.GetSize(), 2);
    EXPECT_STREQ(record.Item().m_arrServerParts[0].Cstr(), "t10");
    EXPECT_STREQ(record.Item().m_arrServerParts[1].Cstr(), "t11");
    EXPECT_THAT(record.UrlFromNorth(3, 5, 6),
                AnyOf("https://t10.a.test/3/6/5", "https://t11.a.test/3/6/5"));
    LoadedRecord bare(
        TileJson(R"(["https://a.test/{z}/{x}/{y}", "https://b.a.test/{z}/{x}/{y}"])"));
    ASSERT_EQ(bare.Item().m_arrServerParts.GetSize(), 2) << bare.messages;
    EXPECT_THAT(bare.UrlFromNorth(3, 5, 6),
                AnyOf("https://a.test/3/6/5", "https://b.a.test/3/6/5"));
}

TEST(TileJson, UsesTheFirstOfAddressesThatDifferElsewhere)
{
    LoadedRecord record(
        TileJson(R"(["https://a.test/{z}/{x}/{y}", "https://a.test/{z}/{y}/{x}"])"));
    EXPECT_THAT(record.messages, HasSubstr("warning 3 tiles: holds addresses that differ"));
    EXPECT_EQ(record.UrlFromNorth(3, 5, 6), "https://a.test/3/6/5");
}

TEST(TileJson, TakesTheServersThatWebMapsTake)
{
    LoadedRecord record(TileJson(R"(["https://{s}.a.test/{z}/{x}/{y}"])"));
    EXPECT_THAT(record.messages, HasSubstr("warning 3 tiles: holds {s} without servers"));
    EXPECT_EQ(record.Item().m_arrServerParts.GetSize(), 3);
}

TEST(TileJson, FillsInNoEnvironmentVariables)
{
    ::setenv("KXTILE_TEST_KEY", "s3cret", 1);
    LoadedRecord record(TileJson(R"(["https://a.test/{z}/{x}/{y}?k=${KXTILE_TEST_KEY}"])"));
    EXPECT_EQ(record.UrlFromNorth(3, 5, 6), "https://a.test/3/6/5?k=${KXTILE_TEST_KEY}");
    EXPECT_THAT(record.messages, HasSubstr("${KXTILE_TEST_KEY} is not filled in here"));
    ::unsetenv("KXTILE_TEST_KEY");
}

// QGIS

std::string Connections(const std::string& entries)
{
    return "<?xml version=\"1.0\"?>\n<!DOCTYPE connections>\n<qgsXYZTilesConnections "
           "version=\"1.0\">\n" +
           entries + "</qgsXYZTilesConnections>\n";
}

TEST(QgisConnections, GiveTheRecordTheirFields)
{
    LoadedRecord record(Connections(
        "<xyztiles name=\"Hills &amp; 图\" url=\"https://a.test/{z}/{x}/{-y}?a=1&amp;b=2\""
        " zmin=\"3\" zmax=\"14\" tilePixelRatio=\"2\" referer=\"https://b.test/\""
        " authcfg=\"\" username=\"\" password=\"\"/>\n"));
    KxTSDParamItem& item = record.Item();
    EXPECT_EQ(record.messages, "");
    EXPECT_EQ(record.UrlFromNorth(3, 5, 6), "https://a.test/3/6/2?a=1&b=2");
    EXPECT_STREQ(item.m_strAttr1.Cstr(), "Hills & 图");
    EXPECT_EQ(item.m_nTileScheme, 10);
    EXPECT_EQ(item.m_nTileSize, 512);
    EXPECT_EQ(item.m_levelBounds.m_nMinLevel, 3);
    EXPECT_EQ(item.m_levelBounds.m_nMaxLevel, 14);
    ASSERT_EQ(item.m_arrRequestHeaders.GetSize(), 1);
    EXPECT_STREQ(item.m_arrRequestHeaders[0].Cstr(), "Referer: https://b.test/");
}

TEST(QgisConnections, TakeQuadkeysForTheirScheme)
{
    LoadedRecord record(
        Connections("<xyztiles name=\"q\" url=\"http://a/{q}.jpeg\" zmin=\"-1\"/>"));
    EXPECT_EQ(record.Item().m_nTileScheme, 6);
    EXPECT_EQ(record.UrlFromNorth(3, 5, 6), "http://a/312.jpeg");
    EXPECT_EQ(record.messages, "");
}

TEST(QgisConnections, MayHoldBracesInTheirPercentForm)
{
    LoadedRecord record(
        Connections("<xyztiles name=\"a\" url=\"http://a/%7bz%7D/%7Bx%7d/%7B-y%7D?s=%20%7\"/>"));
    EXPECT_EQ(record.messages, "");
    EXPECT_EQ(record.UrlFromNorth(3, 5, 6), "http://a/3/6/2?s=%20%7");
}

TEST(QgisConnections, AreChosenByTheNameBehindThePath)
{
    const std::string both =
        Connections("<xyztiles name=\"one\" url=\"http://a/{z}/{x}/{y}\"/>\n"
                    "<xyztiles name=\"two/#b\" url=\"http://b/{z}/{x}/{y}\"/>\n"
                    "<xyztiles name=\"two\" url=\"http://c/{z}/{x}/{y}\"/>\n");
    LoadedRecord first(both);
    EXPECT_EQ(first.UrlFromNorth(3, 5, 6), "http://a/3/6/5");
    EXPECT_THAT(first.messages,
                HasSubstr("the first, one, is read; write #NAME behind the path for "
                          "another: two/#b, two"));
    LoadedRecord two(both, "#two");
    EXPECT_EQ(two.UrlFromNorth(3, 5, 6), "http://c/3/6/5");
    EXPECT_EQ(two.messages, "");
    LoadedRecord none(both, "#three");
    EXPECT_THAT(none.messages, HasSubstr("error 0 : holds none of the name three"));
    EXPECT_STREQ(none.Item().m_strUrlTemplate.Cstr(), "");
}

TEST(QgisConnections, AreChosenByTheirNumberWhereNoneIsCalledSo)
{
    const std::string some = Connections("<xyztiles name=\"3\" url=\"http://a/{z}/{x}/{y}\"/>\n"
                                         "<xyztiles name=\"\" url=\"http://b/{z}/{x}/{y}\"/>\n"
                                         "<xyztiles name=\"c\" url=\"http://c/{z}/{x}/{y}\"/>\n");
    EXPECT_EQ(LoadedRecord(some, "#2").UrlFromNorth(3, 5, 6), "http://b/3/6/5");
    EXPECT_EQ(LoadedRecord(some, "#3").UrlFromNorth(3, 5, 6), "http://a/3/6/5");
    for (const char* const wrong : {"#0", "#4", "#-1", "#2x", "#99999999999999999999"})
        EXPECT_THAT(LoadedRecord(some, wrong).messages, HasSubstr("holds none of the name"))
            << wrong;
}

TEST(QgisConnections, SayWhatIsNotTakenOver)
{
    EXPECT_THAT(LoadedRecord(Connections("<xyztiles name=\"a\" url=\"http://a/{z}/{x}/{y}\"\n"
                                         "  username=\"me\" password=\"s3cret\"/>"))
                    .messages,
                HasSubstr("warning 5 username: and what goes with it are not taken over"));
    EXPECT_THAT(LoadedRecord(Connections("<xyztiles name=\"a\" url=\"http://a/{z}/{x}/{y}\" "
                                         "interpretation=\"terrariumterrain\"/>"))
                    .messages,
                HasSubstr("error 4 interpretation: says that the tiles are heights"));
    EXPECT_THAT(
        LoadedRecord(Connections("<xyztiles name=\"a\" url=\"http://{s}/{z}/{x}/{y}\"/>")).messages,
        HasSubstr("error 4 url: holds a placeholder for the server"));
}

// MapProxy

std::string MapProxy(const std::string& url, const std::string& more = "")
{
    return "# a configuration\nsources:\n  hills:\n    type: tile\n    url: " + url + "\n" + more;
}

TEST(MapProxy, TakesASourceOfTiles)
{
    LoadedRecord record(MapProxy("http://a.test/%(z)s/%(x)s/%(y)s.png?a=%20&b=%%41",
                                 "    grid: GLOBAL_WEBMERCATOR\n"
                                 "    http:\n      headers:\n        Referer: https://b.test/\n"
                                 "        User-Agent: Survey/2\n"));
    KxTSDParamItem& item = record.Item();
    EXPECT_EQ(record.messages, "");
    EXPECT_EQ(record.UrlFromNorth(3, 5, 6), "http://a.test/3/6/5.png?a=%20&b=%41");
    EXPECT_STREQ(item.m_strAttr1.Cstr(), "hills");
    EXPECT_STREQ(item.m_strUserAgent.Cstr(), "Survey/2");
    ASSERT_EQ(item.m_arrRequestHeaders.GetSize(), 1);
    EXPECT_STREQ(item.m_arrRequestHeaders[0].Cstr(), "Referer: https://b.test/");
}

TEST(MapProxy, TakesTheHeadersOfAllSourcesWhereASourceHasNone)
{
    const std::string grid = "    grid: GLOBAL_WEBMERCATOR\n";
    const std::string shared = "globals:\n  http:\n    headers:\n      X-Shared: a\n";
    LoadedRecord record(MapProxy("http://a/%(tms_path)s", grid + shared));
    EXPECT_EQ(record.messages, "");
    ASSERT_EQ(record.Item().m_arrRequestHeaders.GetSize(), 1);
    EXPECT_STREQ(record.Item().m_arrRequestHeaders[0].Cstr(), "X-Shared: a");
    LoadedRecord own(
        MapProxy("http://a/%(tms_path)s", grid + "    http: {headers: {X-Own: b}}\n" + shared));
    EXPECT_THAT(own.messages, HasSubstr("warning 11 globals.http.headers: is passed over"));
    ASSERT_EQ(own.Item().m_arrRequestHeaders.GetSize(), 1);
    EXPECT_STREQ(own.Item().m_arrRequestHeaders[0].Cstr(), "X-Own: b");
}

TEST(MapProxy, SaysWhichWordsOfRequestsAreNotTakenOver)
{
    const auto messages = [](const std::string& http) {
        return LoadedRecord(MapProxy("http://a/%(tms_path)s",
                                     "    grid: GLOBAL_WEBMERCATOR\n    http:\n      " + http +
                                         "\nglobals: {http: {client_timeout: 5}}\n"))
            .messages;
    };
    EXPECT_THAT(messages("ssl_no_cert_checks: true"),
                HasSubstr("warning 8 sources.hills.http.ssl_no_cert_checks: is not taken over"));
    EXPECT_THAT(messages("header: {a: b}"),
                HasSubstr("warning 8 sources.hills.http.header: is not taken over"));
    EXPECT_THAT(messages("method: POST"),
                HasSubstr("error 8 sources.hills.http.method: is none that tiles"));
    EXPECT_EQ(messages("method: GET"),
              "warning 9 globals.http.client_timeout: is not taken over; of http only headers are, "
              "and certificates are always checked\n");
}

TEST(MapProxy, CountsRowsFromTheSouthUnlessTheGridSaysOtherwise)
{
    LoadedRecord plain(MapProxy("http://a/%(tms_path)s.png"));
    EXPECT_EQ(plain.UrlFromNorth(3, 5, 6), "http://a/3/6/2.png");
    EXPECT_THAT(plain.messages, HasSubstr("grid: is missing, and MapProxy takes GLOBAL_MERCATOR"));
    LoadedRecord own(MapProxy("http://a/%(tms_path)s.png",
                              "    grid: mine\ngrids:\n  mine:\n    base: GLOBAL_MERCATOR\n"
                              "    origin: nw\n    tile_size: [512, 512]\n    num_levels: 12\n"));
    EXPECT_EQ(own.messages, "");
    EXPECT_EQ(own.UrlFromNorth(3, 5, 6), "http://a/3/6/5.png");
    EXPECT_EQ(own.Item().m_nTileSize, 512);
    EXPECT_EQ(own.Item().m_levelBounds.m_nMaxLevel, 11);
}

TEST(MapProxy, TakesTheOriginThatOldSourcesSay)
{
    LoadedRecord record(MapProxy("http://a/%(tms_path)s.png", "    origin: nw\n"));
    EXPECT_EQ(record.messages, "");
    EXPECT_EQ(record.UrlFromNorth(3, 5, 6), "http://a/3/6/5.png");
}

TEST(MapProxy, WritesThePathsOfOtherCaches)
{
    const std::string grid = "    grid: GLOBAL_WEBMERCATOR\n";
    EXPECT_EQ(LoadedRecord(MapProxy("http://a/%(tc_path)s.png", grid)).Url(13, 0, 5678),
              "http://a/13/000/005/678/000/008/191.png");
    EXPECT_EQ(LoadedRecord(MapProxy("http://a/%(arcgiscache_path)s", grid)).Url(13, 0, 5678),
              "http://a/L13/R00001fff/C0000162e");
    EXPECT_EQ(LoadedRecord(MapProxy("http://a/%(quadkey)s", grid)).UrlFromNorth(3, 5, 6),
              "http://a/312");
}

TEST(MapProxy, FollowsGeographicGrids)
{
    // Level 3: 8 columns and 4 rows from pole to pole.
    EXPECT_EQ(LoadedRecord(MapProxy("http://a/%(z)s/%(x)s/%(y)s", "    grid: GLOBAL_GEODETIC\n"))
                  .UrlFromPole(3, 1, 6),
              "http://a/3/6/2");
    LoadedRecord north(MapProxy("http://a/%(z)s/%(x)s/%(y)s",
                                "    grid: g\ngrids: {g: {srs: 'EPSG:4326', origin: ul,"
                                " bbox: [-180, -90, 180, 90]}}\n"));
    EXPECT_EQ(north.messages, "");
    EXPECT_EQ(north.UrlFromPole(3, 1, 6), "http://a/3/6/1");
}

TEST(MapProxy, SaysWhatItCannotExpress)
{
    const std::string grid = "    grid: GLOBAL_WEBMERCATOR\n";
    EXPECT_THAT(LoadedRecord(MapProxy("http://a/?%(bbox)s", grid)).messages,
                HasSubstr("error 5 sources.hills.url: %(bbox)s asks by extent"));
    EXPECT_THAT(LoadedRecord(MapProxy("http://a/%(tms_path)s.%(format)s", grid)).messages,
                HasSubstr("warning 5 sources.hills.url: holds %(format)s, for which png"));
    EXPECT_THAT(
        LoadedRecord(MapProxy("http://a/%(tms_path)s", grid + "    coverage: {}\n")).messages,
        HasSubstr("warning 7 sources.hills.coverage: is not taken over"));
    EXPECT_THAT(LoadedRecord(MapProxy("http://a/%(tms_path)s", "    grid: [A, B]\n")).messages,
                HasSubstr("error 6 grid: is no grid's name; a source of tiles has one grid"));
    EXPECT_THAT(LoadedRecord(MapProxy("http://a/%(tms_path)s", "    grid: other\n")).messages,
                HasSubstr("error 6 grid: other is neither"));
    EXPECT_THAT(LoadedRecord(MapProxy("http://a/%(tms_path)s",
                                      "    grid: g\ngrids:\n  g:\n    srs: EPSG:25832\n"))
                    .messages,
                HasSubstr("error 9 grids.g.srs: is none that tiles can be read in"));
    EXPECT_THAT(LoadedRecord(MapProxy("http://a/%(tms_path)s",
                                      "    grid: g\ngrids:\n  g:\n    res: [1, 2]\n"))
                    .messages,
                HasSubstr("error 9 grids.g.res: makes a grid that cannot be expressed"));
    EXPECT_THAT(LoadedRecord("sources:\n  a:\n    type: wms\n").messages,
                HasSubstr("holds no source with type: tile, the only one that can be read; there "
                          "are types: wms"));
}

TEST(MapProxy, ChoosesByTheNameBehindThePath)
{
    const std::string two = MapProxy("http://a/%(tms_path)s",
                                     "    grid: GLOBAL_WEBMERCATOR\n"
                                     "  lakes: {type: tile, grid: GLOBAL_WEBMERCATOR,"
                                     " url: 'http://b/%(tms_path)s'}\n");
    EXPECT_THAT(LoadedRecord(two).messages, HasSubstr("the first, hills, is read"));
    EXPECT_EQ(LoadedRecord(two, "#lakes").UrlFromNorth(3, 5, 6), "http://b/3/6/5");
    EXPECT_EQ(LoadedRecord(two, "#lakes").messages, "");
}

// GDAL; what its own requests look like is compared in GdalCrossCheck_test.

std::string GdalWms(const std::string& service, const std::string& more = "")
{
    return "<GDAL_WMS>\n  <Service name=\"TMS\">" + service + "</Service>\n" + more +
           "</GDAL_WMS>\n";
}

constexpr char kMercatorWindow[] =
    "<DataWindow><UpperLeftX>-20037508.34</UpperLeftX><UpperLeftY>20037508.34</UpperLeftY>"
    "<LowerRightX>20037508.34</LowerRightX><LowerRightY>-20037508.34</LowerRightY>"
    "<TileLevel>18</TileLevel><TileCountX>1</TileCountX><TileCountY>1</TileCountY>"
    "<YOrigin>top</YOrigin></DataWindow><Projection>EPSG:3857</Projection>"
    "<BlockSizeX>256</BlockSizeX><BlockSizeY>256</BlockSizeY>\n";

TEST(GdalWms, GivesTheRecordItsFields)
{
    LoadedRecord record(GdalWms("<ServerUrl>http://a/${z}/${x}/${y}.png</ServerUrl>",
                                std::string(kMercatorWindow) + "<UserAgent>Survey/1</UserAgent>"
                                                               "<Referer>http://b/</Referer>"));
    EXPECT_EQ(record.messages, "");
    EXPECT_EQ(record.UrlFromNorth(3, 5, 6), "http://a/3/6/5.png");
    EXPECT_EQ(record.Item().m_levelBounds.m_nMaxLevel, 18);
    EXPECT_EQ(record.Item().m_nTileSize, 256);
    EXPECT_STREQ(record.Item().m_strUserAgent.Cstr(), "Survey/1");
    EXPECT_STREQ(record.Item().m_arrRequestHeaders[0].Cstr(), "Referer: http://b/");
}

TEST(GdalWms, NamesElementsThatHaveNoPlaceOnce)
{
    const std::string all =
        LoadedRecord(GdalWms("<ServerUrl>http://a/${z}/${x}/${y}.png</ServerUrl>",
                             std::string(kMercatorWindow) +
                                 "<Timeout>5</Timeout><cache/><MaxConnections>2</MaxConnections>"
                                 "<BlockSise>256</BlockSise>"))
            .messages;
    EXPECT_THAT(all,
                HasSubstr("warning 1 : says how GDAL fetches and reads, which is not taken "
                          "over: Timeout, cache, MaxConnections\n"));
    EXPECT_THAT(all, HasSubstr("warning 4 BlockSise: is not known"));
}

TEST(GdalWms, SaysWhatItCannotExpress)
{
    const auto messages = [](const std::string& from, const std::string& to) {
        std::string xml =
            GdalWms("<ServerUrl>http://a/${z}/${x}/${y}.png</ServerUrl>", kMercatorWindow);
        xml.replace(xml.find(from), from.size(), to);
        return LoadedRecord(xml).messages;
    };
    EXPECT_THAT(messages("\"TMS\"", "\"TiledWMS\""), HasSubstr("error 2 Service: is TiledWMS"));
    EXPECT_THAT(messages("\"TMS\"", "\"WMS\""), HasSubstr("error 2 Service: WMS is none that"));
    EXPECT_THAT(messages("EPSG:3857", "EPSG:25832"), HasSubstr("error 3 Projection: is none"));
    EXPECT_THAT(messages("<UpperLeftX>-20037508.34", "<UpperLeftX>0"),
                HasSubstr("error 3 DataWindow: is not the whole world"));
    EXPECT_THAT(messages("<UpperLeftX>-20037508.34", "<UpperLeftX>nan"),
                HasSubstr("error 3 UpperLeftX: is no number"));
    EXPECT_THAT(messages("<TileCountX>1", "<TileCountX>3"), HasSubstr("make no square tiles"));
    EXPECT_THAT(messages("<TileCountX>1", "<TileCountX>-1"),
                HasSubstr("TileCountX: is no integer"));
    EXPECT_THAT(messages("<TileLevel>18", "<TileX>1</TileX><TileLevel>18"),
                HasSubstr("TileX: moves the grid"));
    EXPECT_THAT(messages("<TileLevel>18", "<SizeX>1000</SizeX><TileLevel>18"),
                HasSubstr("SizeX: makes no whole number of levels"));
    EXPECT_THAT(messages("<TileLevel>18</TileLevel>", "<SizeX>1024</SizeX><SizeY>1024</SizeY>"),
                HasSubstr("SizeX: says nothing without TileLevel"));
    EXPECT_THAT(messages("<TileLevel>18", "<SizeX>1024</SizeX><SizeY>512</SizeY><TileLevel>9"),
                HasSubstr("SizeX: makes no whole number of levels"));
    EXPECT_THAT(messages("top<", "left<"), HasSubstr("YOrigin: is no origin"));
    EXPECT_THAT(messages("<BlockSizeY>256", "<BlockSizeY>512"), HasSubstr("tiles are square"));
    EXPECT_THAT(messages("<BlockSizeX>256", "<BlockSizeX>99999"), HasSubstr("between 1 and 8192"));
    EXPECT_THAT(messages("<TileLevel>18", "<TileLevel>99999999999"), HasSubstr("TileLevel: is no"));
    EXPECT_THAT(messages("${x}/", ""), HasSubstr("ServerUrl: lacks the column"));
    EXPECT_THAT(messages("http://a", "/vsimem"), HasSubstr("does not begin with http://"));
}

} // namespace
} // namespace KxC
