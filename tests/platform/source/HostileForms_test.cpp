// SPDX-License-Identifier: MIT
#include "DefinitionOnDisk.h"

#include <gmock/gmock.h>

namespace KxC {
namespace {

using test::AllMessages;
using ::testing::HasSubstr;
using ::testing::Not;

unsigned char Check(const std::string& text)
{
    return KxUtility::CheckTSDText(KxString(text.data(), static_cast<int>(text.size())), "a");
}

std::string Repeated(const std::string& text, int count)
{
    std::string result;
    for (int i = 0; i < count; ++i)
        result += text;
    return result;
}

struct BadText
{
    const char* text;
    const char* message;
};

class BadForms : public ::testing::TestWithParam<BadText>
{
};

TEST_P(BadForms, FailAndSayWhy)
{
    EXPECT_EQ(Check(GetParam().text), 0);
    EXPECT_THAT(AllMessages(), HasSubstr(GetParam().message));
}

INSTANTIATE_TEST_SUITE_P(
    Xml,
    BadForms,
    ::testing::Values(
        BadText{
            "<!DOCTYPE a [<!ENTITY b SYSTEM \"file:///etc/passwd\">]>\n<GDAL_WMS>&b;</GDAL_WMS>",
            "error 1 : holds a DOCTYPE with a document type"},
        BadText{"<GDAL_WMS>\n<Service>\n</GDAL_WMS>", "error 3 : is not XML"},
        BadText{"<GDAL_WMS>\n<Service", "error 2 : is not XML"},
        BadText{"<GDAL_WMS>\xFF</GDAL_WMS>", "is not UTF-8"},
        BadText{"<GDAL_WMS/>", "error 1 Service:"},
        BadText{"<html><body/></html>", "error 1 : is XML headed <html>"},
        BadText{"<", "error 1 : is not XML"},
        BadText{"<qgsXYZTilesConnections/>", "error 1 : holds no connection"},
        BadText{"<qgsXYZTilesConnections>\n<xyztiles\nname='a'\nzmin='x'\n"
                "url='http://a/{z}/{x}/{y}'/></qgsXYZTilesConnections>",
                "error 4 zmin: is no integer between 0 and 30"},
        BadText{"<qgsXYZTilesConnections>\n<xyztiles name='a' zmax='4294967297' "
                "url='http://a/{z}/{x}/{y}'/></qgsXYZTilesConnections>",
                "error 2 zmax: is no integer"},
        BadText{"<qgsXYZTilesConnections><xyztiles name='a' tilePixelRatio='nan' "
                "url='http://a/{z}/{x}/{y}'/></qgsXYZTilesConnections>",
                "error 1 tilePixelRatio: is no number"},
        BadText{"<qgsXYZTilesConnections><xyztiles name='a' referer='x&#10;Host: b' "
                "url='http://a/{z}/{x}/{y}'/></qgsXYZTilesConnections>",
                "error 1 referer: makes no header line"},
        BadText{"<qgsXYZTilesConnections><xyztiles name='a' http-header:a:b='x' "
                "url='http://a/&#10;{z}/{x}/{y}'/></qgsXYZTilesConnections>",
                "error 1 url: holds a line break"},
        BadText{"<qgsXYZTilesConnections><xyztiles url='http://a/{z}/{x}/{y}.lua'/>"
                "</qgsXYZTilesConnections>",
                "error 1 url: ends in .lua"},
        BadText{"<qgsXYZTilesConnections><xyztiles url='http://a/{z}/{x}/{y}.mvt?k=1'/>"
                "</qgsXYZTilesConnections>",
                "error 1 url: says that the tiles are drawings"},
        BadText{"<qgsXYZTilesConnections><xyztiles url='file:///{z}/{x}/{y}'/>"
                "</qgsXYZTilesConnections>",
                "does not begin with http:// or https://"},
        BadText{"<qgsXYZTilesConnections><xyztiles name='a'/></qgsXYZTilesConnections>",
                "does not begin with http:// or https://"}));

INSTANTIATE_TEST_SUITE_P(
    XmlTypes,
    BadForms,
    ::testing::Values(BadText{"<!DOCTYPE a SYSTEM 'http://a/b.dtd'><qgsXYZTilesConnections/>",
                              "error 1 : holds a DOCTYPE with a document type"},
                      BadText{"<!DOCTYPE a PUBLIC \"b\" \"c\"><GDAL_WMS/>",
                              "error 1 : holds a DOCTYPE with a document type"},
                      BadText{"<!DOCTYPE a[<!ENTITY b 'c'>]><GDAL_WMS/>",
                              "error 1 : holds a DOCTYPE with a document type"}));

INSTANTIATE_TEST_SUITE_P(
    Json,
    BadForms,
    ::testing::Values(
        BadText{"{\"tilejson\": \"3.0.0\",\n\"tiles\": [}", "error 2 : is not JSON"},
        BadText{"{", "is not JSON"},
        BadText{"{}", "error 1 : is JSON but no TileJSON"},
        BadText{"{\"tilejson\":\"3.0.0\"}", "tiles: has to be a list of addresses"},
        BadText{"{\"tiles\":[]}", "tiles: has to be a list of addresses"},
        BadText{"{\"tiles\":[1]}", "tiles: has to be a list of addresses"},
        BadText{"{\"tiles\":\"http://a/{z}/{x}/{y}\"}", "tiles: has to be a list of addresses"},
        BadText{"{\"tiles\":[\"{z}/{x}/{y}.png\"]}", "does not begin with http://"},
        BadText{"{\"tiles\":[\"http://a/{z}/{x}/{y}.pbf\"]}", "the tiles are drawings"},
        BadText{"{\"tiles\":[\"http://a.t/{z}/{x}/{y}.pbf\",\"http://b.t/{z}/{x}/{y}.pbf\"]}",
                "the tiles are drawings"},
        BadText{"{\"tiles\":[\"http://a/{z}/{x}/{y}?{header(Cookie,a=b)}\"]}",
                "tiles: holds braces around what is no placeholder"},
        BadText{"{\"tiles\":[\"http://a/b c/{z}/{x}/{y}\"]}", "tiles: holds a blank"},
        BadText{"{\"tiles\":[\"http://a/{z}/{x}\"]}", "lacks the column, the row or the level"},
        BadText{"{\"tiles\":[\"http://a/tile\"]}", "names no tile"},
        BadText{"{\"tiles\":[\"http://a/{bbox-epsg-3857}\"]}", "asked by extent"},
        BadText{"{\"tiles\":[\"http://a/{z}/{x}/{y}?k={apikey}\"]}", "{apikey} is not known"},
        BadText{"{\n\"minzoom\": -1,\"tiles\":[\"http://a/{z}/{x}/{y}\"]}",
                "error 2 minzoom: is no integer between 0 and 30"},
        BadText{"{\"maxzoom\": 1.5,\"tiles\":[\"http://a/{z}/{x}/{y}\"]}",
                "error 1 maxzoom: is no integer"},
        BadText{"{\"maxzoom\": 1e999,\"tiles\":[\"http://a/{z}/{x}/{y}\"]}",
                "holds a number that is too large"},
        BadText{"{\"maxzoom\": NaN}", "error 1 : is not JSON"},
        BadText{"{\"bounds\": [1,2,3],\"tiles\":[\"http://a/{z}/{x}/{y}\"]}",
                "bounds: is no list of four numbers"},
        BadText{"{\"crs\": \"EPSG:4326\",\"tiles\":[\"http://a/{z}/{x}/{y}\"]}",
                "crs: is another grid than TileJSON's"},
        BadText{"{\"name\": [5],\"tiles\":[\"http://a/{z}/{x}/{y}\"]}", "name: is no text"},
        BadText{"{\"name\": \"\\u0000\",\"tiles\":[\"http://a/{z}/{x}/{y}\"]}", "holds a NUL"},
        BadText{"{\"scheme\": \"wms\",\"tiles\":[\"http://a/{z}/{x}/{y}\"]}",
                "scheme: is no scheme of TileJSON"},
        BadText{"{\"tiles\":[\"http://a/{z}/{x}/{y}\"],\n\"tiles\":[]}", "tiles: stands twice"}));

INSTANTIATE_TEST_SUITE_P(
    Yaml,
    BadForms,
    ::testing::Values(
        BadText{"sources:\n  a: &x {type: tile}\n  b: *x\n", "error 2 : holds an anchor (&)"},
        BadText{"sources:\n  a: *x\n", "is not YAML"},
        BadText{"sources:\n  a: [", "is not YAML"},
        BadText{"sources:\n\ta: b", "is not YAML"},
        BadText{"sources: 5\n", "sources: is missing or no map"},
        BadText{"---\n", "sources: is missing or no map"},
        BadText{"layers:\n  - name: a\n", "sources: is missing or no map"},
        BadText{"sources: {a: {type: tile}}", "sources.a.url: is missing or no text"},
        BadText{"sources: {a: {type: tile, url: [1]}}", "sources.a.url: is missing or no text"},
        BadText{"sources: {[a, b]: {type: tile, url: 'http://a/%(z)s'}}", "lacks the column"},
        BadText{"sources: {a: {type: tile, http: 5, url: 'http://a/%(tms_path)s'}}",
                "sources.a.http: is no map"},
        BadText{"sources: {a: {type: tile, http: {headers: {a b: c}},"
                " url: 'http://a/%(tms_path)s'}}",
                "sources.a.http.headers: makes no header line"},
        BadText{"sources: {a: {type: tile, http: {headers: {a: \"b\\nc\"}},"
                " url: 'http://a/%(tms_path)s'}}",
                "sources.a.http.headers: makes no header line"},
        BadText{"sources:\n  a: {type: tile, grid: g, url: 'http://a/%(tms_path)s'}\n"
                "grids:\n  g:\n    tile_size: [0, 0]\n",
                "error 5 grids.g.tile_size: is no integer between 1 and 8192"},
        BadText{"sources:\n  a: {type: tile, grid: g, url: 'http://a/%(tms_path)s'}\n"
                "grids:\n  g:\n    bbox: [-180, .nan, 180, 90]\n",
                "error 5 grids.g.bbox: is no number"},
        BadText{"sources: {a: {type: tile, url: 'http://a/%(foo)s'}}", "%(foo)s is not known"},
        BadText{"sources: \xFF", "is not UTF-8"}));

TEST(HostileForms, DeepNestingIsRefused)
{
    EXPECT_EQ(Check("{\"tiles\":" + Repeated("[", 400000)), 0);
    EXPECT_THAT(AllMessages(), HasSubstr("nested deeper than 32 levels"));
    EXPECT_EQ(Check("{\"tiles\":" + Repeated("{\"a\":", 100000)), 0);
    EXPECT_THAT(AllMessages(), HasSubstr("nested deeper than 32 levels"));
    EXPECT_EQ(
        Check("<GDAL_WMS>" + Repeated("<a>", 100000) + Repeated("</a>", 100000) + "</GDAL_WMS>"),
        0);
    EXPECT_THAT(AllMessages(), HasSubstr("nested deeper than 16 elements"));
    EXPECT_EQ(Check("sources: " + Repeated("[", 400000)), 0);
    EXPECT_THAT(AllMessages(), HasSubstr("nested deeper than 16 levels"));
    EXPECT_EQ(Check("sources: " + Repeated("{a: ", 200000)), 0);
    EXPECT_THAT(AllMessages(), HasSubstr("nested deeper than 16 levels"));
    EXPECT_EQ(Check("sources:\n " + Repeated("- ", 400000)), 0);
    EXPECT_THAT(AllMessages(), HasSubstr("nested deeper than 16 levels"));
    EXPECT_EQ(Check("sources:\n " + Repeated("? ", 400000)), 0);
    EXPECT_THAT(AllMessages(), HasSubstr("nested deeper than 16 levels"));
}

TEST(HostileForms, ManyValuesAreRefused)
{
    EXPECT_EQ(Check("sources: [" + Repeated("a,", 100000) + "]"), 0);
    EXPECT_THAT(AllMessages(), HasSubstr("holds more than 50000 values"));
    std::string xml = "<qgsXYZTilesConnections>";
    for (int i = 0; i < 5000; ++i)
        xml += "<xyztiles name='n" + std::to_string(i) + "' url='http://a/{z}/{x}/{y}'/>";
    EXPECT_EQ(Check(xml + "</qgsXYZTilesConnections>"), 1);
    EXPECT_THAT(AllMessages(), HasSubstr("n7, n8 and others"));
}

TEST(HostileForms, ManyHeadersAndTwinsAreToldOfOnce)
{
    std::string headers;
    for (int i = 0; i < 30000; ++i)
        headers += " http-header:h" + std::to_string(i) + "='x'";
    EXPECT_EQ(Check("<qgsXYZTilesConnections><xyztiles url='http://a/{z}/{x}/{y}'" + headers +
                    "/></qgsXYZTilesConnections>"),
              0);
    EXPECT_THAT(AllMessages(), HasSubstr("is one of 64 headers or more"));
    EXPECT_EQ(Check("{\"pad\": \"" + std::string(500000, 'x') + "\"" +
                    Repeated(",\"tiles\": []", 30000) + "}"),
              0);
    EXPECT_THAT(AllMessages(), HasSubstr("error 1 tiles: stands twice"));
}

TEST(HostileForms, CutTextsNeverCrash)
{
    const std::vector<std::string> texts = {
        "{\"tilejson\":\"3.0.0\",\"tiles\":[\"http://{a-c}/{z}/{x}/{y}?{switch:a,b}{z+1}\"],"
        "\"bounds\":[1,2,3,4]}",
        "<?xml version='1.0'?><!-- a --><GDAL_WMS><Service "
        "name='TMS'><ServerUrl>http://a/${z}/${x}/"
        "${y}</ServerUrl></Service><Projection>EPSG:3857</Projection></GDAL_WMS>",
        "<qgsXYZTilesConnections><xyztiles name='a' url='http://a/{z}/{x}/{-y}'/>"
        "</qgsXYZTilesConnections>",
        "sources:\n  a:\n    type: tile\n    url: http://a/%(tc_path)s\n    grid: g\ngrids:\n"
        "  g: {base: GLOBAL_MERCATOR, origin: nw, bbox: [1, 2, 3, 4]}\n"};
    for (const std::string& text : texts)
        for (std::size_t length = 0; length < text.size(); ++length) {
            Check(text.substr(0, length));
            std::string changed = text;
            changed[length] = static_cast<char>(changed[length] ^ 0x12);
            Check(changed);
            Check(text.substr(length));
        }
}

TEST(HostileForms, MessagesQuoteNoKeyOfTheAddress)
{
    Check("{\"tiles\":[\"http://a/{z}/{x}/{q}/{bad}?key=s3cret\"]}");
    EXPECT_THAT(AllMessages(), HasSubstr("{bad}"));
    EXPECT_THAT(AllMessages(), Not(HasSubstr("s3cret")));
    Check("{\"tiles\":[\"http://a/{z}/${?key=s3cret&x={x}/{y}\"]}");
    EXPECT_THAT(AllMessages(), Not(HasSubstr("s3cret")));
}

} // namespace
} // namespace KxC
