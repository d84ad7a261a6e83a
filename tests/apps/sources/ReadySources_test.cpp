// SPDX-License-Identifier: MIT
// The ready definitions of public services: what they say, and the addresses that they make.
// Nothing here sends a request.
#include "KxTileFetcher.h"
#include "Secrets.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace KxTileHost {
namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;

/// An address written down from the service's own description of its tiles, not by this program.
/// Rows here count from the south, in the library's grid. {s} stands for any of the servers, and
/// <NAME> for an environment variable, which the test sets to its own name.
struct KnownUrl
{
    const char* name;
    int level, row, col;
    const char* url;
};

// Two places are asked for again and again: column 6, row 3 from the north of level 3 (row 4 from
// the south), and Beijing at level 10: (116.39 + 180) / 360 x 1024 = 843, row 388 from the north,
// 635 from the south.
const std::vector<KnownUrl> kKnownUrls = {
    {"osm", 3, 4, 6, "https://tile.openstreetmap.org/3/6/3.png"},
    {"osm", 10, 635, 843, "https://tile.openstreetmap.org/10/843/388.png"},
    // Column 3, row 5 from the north of level 3: digits x bit + 2 y bit, 011 and 101 give 2 1 3.
    {"bing-aerial",
     3,
     2,
     3,
     "https://ecn.t{s}.tiles.virtualearth.net/tiles/a213.jpeg?g=<BING_GENERATION>&n=z"},
    // 843 = 1101001011, 388 = 0110000100 in binary.
    {"bing-aerial",
     10,
     635,
     843,
     "https://ecn.t{s}.tiles.virtualearth.net/tiles/a1321001211.jpeg?g=<BING_GENERATION>&n=z"},
    {"tianditu-img-w",
     10,
     635,
     843,
     "https://t{s}.tianditu.gov.cn/img_w/wmts?SERVICE=WMTS&REQUEST=GetTile&VERSION=1.0.0&LAYER=img"
     "&STYLE=default&TILEMATRIXSET=w&FORMAT=tiles&TILEMATRIX=10&TILEROW=388&TILECOL=843"
     "&tk=<TIANDITU_KEY>"},
    // Set c: tiles of 360 / 1024 degrees from 90 north: Beijing, 39.9 north, is in row
    // floor(50.1 / 0.3515625) = 142; from the foot of the square at -180 that is
    // floor(219.9 / 0.3515625) = 625.
    {"tianditu-img-c",
     10,
     625,
     843,
     "https://t{s}.tianditu.gov.cn/img_c/wmts?SERVICE=WMTS&REQUEST=GetTile&VERSION=1.0.0&LAYER=img"
     "&STYLE=default&TILEMATRIXSET=c&FORMAT=tiles&TILEMATRIX=10&TILEROW=142&TILECOL=843"
     "&tk=<TIANDITU_KEY>"},
    // Level 2 has 4 x 2 tiles of 90 degrees: 10 east 50 north is column 2, row 0, which begins at
    // the equator, 180 degrees above the foot of the square: row 2. The row below it is 1.
    {"tianditu-img-c",
     2,
     2,
     2,
     "https://t{s}.tianditu.gov.cn/img_c/wmts?SERVICE=WMTS&REQUEST=GetTile&VERSION=1.0.0&LAYER=img"
     "&STYLE=default&TILEMATRIXSET=c&FORMAT=tiles&TILEMATRIX=2&TILEROW=0&TILECOL=2"
     "&tk=<TIANDITU_KEY>"},
    {"tianditu-cva-c",
     2,
     1,
     3,
     "https://t{s}.tianditu.gov.cn/cva_c/wmts?SERVICE=WMTS&REQUEST=GetTile&VERSION=1.0.0&LAYER=cva"
     "&STYLE=default&TILEMATRIXSET=c&FORMAT=tiles&TILEMATRIX=2&TILEROW=1&TILECOL=3"
     "&tk=<TIANDITU_KEY>"},
    {"amap-imagery",
     10,
     635,
     843,
     "https://webst0{s}.is.autonavi.com/appmaptile?style=6&x=843&y=388&z=10"},
    {"amap-labels",
     10,
     635,
     843,
     "https://webst0{s}.is.autonavi.com/appmaptile?style=8&x=843&y=388&z=10"},
    {"amap-map",
     10,
     635,
     843,
     "https://webrd0{s}.is.autonavi.com/appmaptile?lang=zh_cn&size=1&scale=1&style=8&x=843&y=388"
     "&z=10"},
    // Column 214130, row 114212 from the north of level 18: 2^18 - 1 - 114212 = 147931 from the
    // south; folders floor(214130 / 16) = 13383 and floor(147931 / 16) = 9245.
    {"tencent-imagery",
     18,
     147931,
     214130,
     "https://p{0..3}.map.gtimg.com/sateTiles/18/13383/9245/214130_147931.jpg?version="
     "<TENCENT_VERSION>"},
    // The last row of a folder, where rows counted from 2^z instead of 2^z - 1 go wrong.
    {"tencent-imagery",
     10,
     15,
     16,
     "https://p{0..3}.map.gtimg.com/sateTiles/10/1/0/16_15.jpg?version=<TENCENT_VERSION>"},
    {"tencent-map",
     10,
     635,
     843,
     "https://rt{s}.map.gtimg.com/tile?z=10&x=843&y=635&styleid=<TENCENT_STYLE>"
     "&version=<TENCENT_VERSION>"},
    // Beijing lies about 12958160, 4825923 metres from the plane's origin; at level 12 a tile has
    // 256 x 2^(18 - 12) = 16384 metres: column 790, row 294. West and south of the origin numbers
    // are negative and written with M.
    {"baidu-map",
     12,
     294,
     790,
     "https://online{s}.map.bdimg.com/onlinelabel/?qt=tile&x=790&y=294&z=12&styles=pl&scaler=1"
     "&p=1"},
    {"baidu-map",
     5,
     4,
     -12,
     "https://online{s}.map.bdimg.com/onlinelabel/?qt=tile&x=M12&y=4&z=5&styles=pl&scaler=1&p=1"},
    {"baidu-imagery",
     7,
     -3,
     -12,
     "https://shangetu{s}.map.bdimg.com/it/u=x=M12;y=M3;z=7;v=009;type=sate&fm=46"},
    {"baidu-imagery",
     12,
     294,
     790,
     "https://shangetu{s}.map.bdimg.com/it/u=x=790;y=294;z=12;v=009;type=sate&fm=46"},
    {"baidu-roads",
     6,
     -1,
     3,
     "https://online{s}.map.bdimg.com/tile/?qt=tile&x=3&y=M1&z=6&styles=sl&v=020"},
    {"google-map-tiles",
     10,
     635,
     843,
     "https://tile.googleapis.com/v1/2dtiles/10/843/388?session=<GOOGLE_MAPS_SESSION>"
     "&key=<GOOGLE_MAPS_KEY>"},
    {"google-satellite", 10, 635, 843, "https://mt{s}.google.com/vt/lyrs=s&x=843&y=388&z=10"},
    {"esri-world-imagery",
     10,
     635,
     843,
     "https://services.arcgisonline.com/ArcGIS/rest/services/World_Imagery/MapServer/tile/10/388"
     "/843?blankTile=false"},
    {"esri-wayback",
     10,
     635,
     843,
     "https://wayback.maptiles.arcgis.com/arcgis/rest/services/World_Imagery/WMTS/1.0.0"
     "/default028mm/MapServer/tile/<ESRI_WAYBACK_RELEASE>/10/388/843"},
    {"gibs-modis-terra",
     3,
     4,
     6,
     "https://gibs.earthdata.nasa.gov/wmts/epsg3857/best/MODIS_Terra_CorrectedReflectance_TrueColor"
     "/default/default/GoogleMapsCompatible_Level9/3/3/6.jpg"},
    {"maptiler-map",
     10,
     635,
     843,
     "https://api.maptiler.com/maps/<MAPTILER_MAP>/256/10/843/388.png?key=<MAPTILER_KEY>"},
    {"maptiler-map-512",
     10,
     635,
     843,
     "https://api.maptiler.com/maps/<MAPTILER_MAP>/10/843/388.png?key=<MAPTILER_KEY>"},
    {"maptiler-satellite",
     10,
     635,
     843,
     "https://api.maptiler.com/tiles/satellite-v2/10/843/388.jpg?key=<MAPTILER_KEY>"},
    {"mapbox-style",
     10,
     635,
     843,
     "https://api.mapbox.com/styles/v1/<MAPBOX_USER>/<MAPBOX_STYLE>/tiles/512/10/843/388"
     "?access_token=<MAPBOX_TOKEN>"},
    {"mapbox-tileset",
     10,
     635,
     843,
     "https://api.mapbox.com/v4/<MAPBOX_TILESET>/10/843/388.jpg90?access_token=<MAPBOX_TOKEN>"},
};

/// Their services' terms exclude fetching tiles directly.
const std::set<std::string> kDisabled = {"amap-imagery",
                                         "amap-labels",
                                         "amap-map",
                                         "baidu-imagery",
                                         "baidu-map",
                                         "baidu-roads",
                                         "bing-aerial",
                                         "google-satellite",
                                         "tencent-imagery",
                                         "tencent-map"};

fs::path PathOf(const std::string& name)
{
    return fs::path(KXTILE_SOURCES_DIR) / (name + ".toml");
}

std::vector<std::string> AllNames()
{
    std::vector<std::string> names;
    for (const fs::directory_entry& entry : fs::directory_iterator(KXTILE_SOURCES_DIR))
        if (entry.path().extension() == ".toml")
            names.push_back(entry.path().stem().string());
    return names;
}

/// Loads a definition, every variable that it names holding its own name.
std::unique_ptr<KxC::KxTSDParamItem> Load(const std::string& name)
{
    const std::string path = PathOf(name).string();
    for (const std::string& variable : VariableNamesIn(path))
        ::setenv(variable.c_str(), ("<" + variable + ">").c_str(), 1);
    auto source = std::make_unique<KxC::KxTSDParamItem>();
    source->LoadFromTSDFile(path.c_str());
    return source;
}

/// What the placeholder for the server may be.
std::set<std::string> PossibleUrls(const KxC::KxTSDParamItem& source, const std::string& known)
{
    std::set<std::string> servers{"0", "1", "2", "3"};
    std::string mark = "{0..3}";
    if (known.find("{s}") != std::string::npos) {
        mark = "{s}";
        servers.clear();
        for (const KxC::KxString& server : source.m_arrServerParts)
            servers.insert(server.Cstr());
    }
    const std::size_t at = known.find(mark);
    if (at == std::string::npos)
        return {known};
    std::set<std::string> urls;
    for (const std::string& server : servers)
        urls.insert(std::string(known).replace(at, mark.size(), server));
    return urls;
}

TEST(ReadySources, LoadWithoutAWord)
{
    for (const std::string& name : AllNames()) {
        const auto source = Load(name);
        for (const KxC::KxTSDMessage& message : KxC::KxUtility::GetLastTSDMessages())
            ADD_FAILURE() << name << ": " << message.m_strText.Cstr();
        EXPECT_EQ(KxC::KxLuaToolkit::GetLastError().IsEmpty(), 1) << name;
    }
}

TEST(ReadySources, NameServiceAttributionTermsAndLimits)
{
    for (const std::string& name : AllNames()) {
        const auto source = Load(name);
        EXPECT_STRNE(source->m_strAttr1.Cstr(), "") << name;
        EXPECT_STRNE(source->m_strAttr2.Cstr(), "") << name;
        EXPECT_THAT(source->m_strAttr3.Cstr(), HasSubstr("https://")) << name;
        EXPECT_STRNE(source->m_strAttr4.Cstr(), "") << name;
        EXPECT_EQ(source->m_bOption3 == 0, kDisabled.count(name) == 1) << name;
        EXPECT_GT(source->m_levelBounds.m_nMaxLevel, source->m_levelBounds.m_nMinLevel) << name;
    }
}

TEST(ReadySources, MakeTheAddressesThatTheirServicesDescribe)
{
    for (const KnownUrl& known : kKnownUrls) {
        const auto source = Load(known.name);
        const std::string url =
            KxC::KxTileFetcher::GetURL(source.get(), known.level, known.row, known.col).Cstr();
        EXPECT_EQ(PossibleUrls(*source, known.url).count(url), 1U)
            << known.name << "\n  made  " << url << "\n  known " << known.url;
    }
}

TEST(ReadySources, AreAllCompared)
{
    std::set<std::string> compared;
    for (const KnownUrl& known : kKnownUrls)
        compared.insert(known.name);
    for (const std::string& name : AllNames()) {
        // The layers of TianDiTu differ by their names alone.
        const bool alike = name.compare(0, 9, "tianditu-") == 0;
        EXPECT_TRUE(alike || compared.count(name) == 1) << name;
    }
}

TEST(ReadySources, OfTianDiTuNameTheirLayerAndSetEverywhere)
{
    int count = 0;
    for (const std::string& name : AllNames()) {
        if (name.compare(0, 9, "tianditu-") != 0)
            continue;
        ++count;
        const std::string layer = name.substr(9, 3);
        const std::string set = name.substr(13);
        const auto source = Load(name);
        const std::string url = KxC::KxTileFetcher::GetURL(source.get(), 4, 7, 9).Cstr();
        EXPECT_THAT(url, HasSubstr("/" + layer + "_" + set + "/wmts?"));
        EXPECT_THAT(url, HasSubstr("&LAYER=" + layer + "&"));
        EXPECT_THAT(url, HasSubstr("&TILEMATRIXSET=" + set + "&"));
        // Web Mercator: 15 - 7; geographic, half as many rows from 90 north: 12 - 7 - 1.
        EXPECT_THAT(url, HasSubstr(set == "w" ? "&TILEROW=8&" : "&TILEROW=4&"));
    }
    EXPECT_EQ(count, 12);
}

std::string ReadWhole(const fs::path& path)
{
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

TEST(ReadySources, SaveTheOpenStreetMapFoundationFromGuessingWhoAsks)
{
    const auto source = Load("osm");
    // This product, its version, and where to reach who runs it.
    EXPECT_STREQ(source->m_strUserAgent.Cstr(),
                 "KxTile/" KXTILE_PRODUCT_VERSION " (+<KXTILE_CONTACT>)");
}

TEST(ReadySources, HaveARowEachInThePageOfPublicServices)
{
    const std::string page = ReadWhole(fs::path(KXTILE_DOCS_DIR) / "public-services.md");
    for (const std::string& name : AllNames()) {
        const std::size_t row = page.find("| `" + name + "` |");
        ASSERT_NE(row, std::string::npos) << name;
        const std::string line = page.substr(row, page.find('\n', row) - row);
        EXPECT_EQ(line.find("**no**") != std::string::npos, kDisabled.count(name) == 1) << line;
        for (const std::string& variable : VariableNamesIn(PathOf(name).string()))
            EXPECT_THAT(line, HasSubstr("`" + variable + "`"));
    }
}

} // namespace
} // namespace KxTileHost
