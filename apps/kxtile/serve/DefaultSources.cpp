// SPDX-License-Identifier: MIT
#include "serve/DefaultSources.h"

#include "EarthSource.h"
#include "SourceGrid.h"
#include "forms/Schemes.h"
#include "serve/ProgramFolder.h"
#include "serve/SourceLoader.h"

#include <array>
#include <filesystem>
#include <system_error>

namespace KxTileHost::Serve {

namespace {

constexpr char kAttribution[] = "NASA Blue Marble";
constexpr int kLastLevel = 18;
constexpr int kDatumGcj02 = 1;
constexpr int kDatumBd09 = 2;

/// A tile service as kxorigin publishes it.
struct Convention
{
    const char* m_id;
    const char* m_name;
    const char* m_address; ///< behind kxorigin's
    int m_scheme;
    int m_datum;
    int m_southToNorth;
    const char* m_format;
    int m_minLevel;
};

constexpr std::array<Convention, 8> kConventions{{
    {"wgs84",
     "World, WGS 84",
     "/xyz/marble/{$z}/{$x}/{$y}.jpg",
     kSchemeWebMercator,
     0,
     0,
     "jpg",
     0},
    {"gcj02",
     "World, GCJ-02",
     "/xyz-gcj02/marble/{$z}/{$x}/{$y}.jpg",
     kSchemeWebMercator,
     kDatumGcj02,
     0,
     "jpg",
     0},
    {"baidu",
     "World, Baidu's grid",
     "/baidu/marble.jpg?x={$x}&y={$y}&z={$z}",
     kSchemeBaidu,
     kDatumBd09,
     1,
     "jpg",
     3},
    {"tianditu",
     "World, TianDiTu's rows",
     "/tianditu/marble/{$z}/{$x}/{$y}.jpg",
     Scheme::kTianDiTuLatLon,
     0,
     0,
     "jpg",
     1},
    {"quadkey", "World, by quadkey", "/quadkey/marble/%s.jpg", Scheme::kBingMap, 0, 0, "jpg", 1},
    {"graticule-wgs84",
     "Graticule, WGS 84",
     "/xyz/graticule/{$z}/{$x}/{$y}.png",
     kSchemeWebMercator,
     0,
     0,
     "png",
     0},
    {"graticule-gcj02",
     "Graticule, GCJ-02",
     "/xyz-gcj02/graticule/{$z}/{$x}/{$y}.png",
     kSchemeWebMercator,
     kDatumGcj02,
     0,
     "png",
     0},
    {"graticule-baidu",
     "Graticule, Baidu's grid",
     "/baidu/graticule.png?x={$x}&y={$y}&z={$z}",
     kSchemeBaidu,
     kDatumBd09,
     1,
     "png",
     3},
}};

std::shared_ptr<Source> MakeService(const Convention& convention, const std::string& origin)
{
    auto source = std::make_shared<Source>();
    source->m_id = convention.m_id;
    source->m_generation = NextGeneration();
    source->m_isUsable = true;
    source->m_item = std::make_shared<KxC::KxTSDParamItem>();
    KxC::KxTSDParamItem& item = *source->m_item;
    item.LoadFromParam((origin + convention.m_address).c_str(),
                       "",
                       convention.m_scheme,
                       convention.m_datum,
                       convention.m_southToNorth,
                       0,
                       kTileSize,
                       "",
                       0,
                       KxC::KxTime());
    item.m_strImageFormat = convention.m_format;
    item.m_strAttr1 = convention.m_name;
    item.m_strAttr2 = kAttribution;
    item.m_levelBounds.m_nMinLevel = convention.m_minLevel;
    item.m_levelBounds.m_nMaxLevel = kLastLevel;
    // The port changes from run to run, the pictures do not.
    source->m_outputName = std::string("kxorigin-") + convention.m_id;
    item.m_strHashKey = source->m_outputName.c_str();
    DescribeService(*source);
    return source;
}

std::shared_ptr<Source> MakeHistory(const std::string& origin)
{
    return MakeService({"history",
                        "Earth imagery with its history",
                        "/earth",
                        Scheme::kEarthHistory,
                        0,
                        0,
                        "jpg",
                        0},
                       origin);
}

/// Installed, and in the build tree by a link, at the same place beside the program.
std::shared_ptr<Source> MakeRaster()
{
    const std::filesystem::path path =
        (ProgramFolder() / KXTILE_RASTER_FROM_PROGRAM).lexically_normal();
    std::error_code error;
    if (!std::filesystem::exists(path, error))
        return nullptr;
    std::shared_ptr<Source> source = LoadSource(path.string(), "blue-marble");
    source->m_name = "Blue Marble, a raster";
    source->m_attribution = kAttribution;
    return source;
}

} // namespace

std::vector<std::shared_ptr<Source>> MakeDefaultSources(const std::string& origin)
{
    std::vector<std::shared_ptr<Source>> sources;
    if (auto raster = MakeRaster())
        sources.push_back(std::move(raster));
    for (const Convention& convention : kConventions)
        sources.push_back(MakeService(convention, origin));
    sources.push_back(MakeHistory(origin));
    return sources;
}

} // namespace KxTileHost::Serve
