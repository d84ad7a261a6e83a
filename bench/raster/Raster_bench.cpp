// SPDX-License-Identifier: MIT
// Tiles of 256 pixels a second: this product's reader beside GDAL's warper, which makes a virtual
// raster for each tile, nearest pixel; both on the same grid.
#include "BenchRasters.h"
#include "KxPlugin.h"
#include "KxRasterDataAccessor.h"
#include "KxRawData.h"
#include "KxTileFetcher.h"
#include "KxWMTileDataCache.h"

#include <benchmark/benchmark.h>
#include <fmt/format.h>
#include <gdal_priv.h>
#include <gdal_utils.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace KxC::RasterBench {

namespace {

struct Address
{
    int m_level, m_row, m_col; ///< rows from the south
};

/// The tiles of a level between bounds in degrees, row by row.
std::vector<Address> TilesOf(int level, double west, double south, double east, double north)
{
    const double degrees = std::ldexp(360.0, -level);
    const auto index = [degrees](double value) {
        return static_cast<int>(std::floor((value + 180) / degrees));
    };
    std::vector<Address> tiles;
    for (int row = index(south); row <= index(north); ++row)
        for (int col = index(west); col <= index(east); ++col)
            tiles.push_back({level, row, col});
    return tiles;
}

struct Case
{
    const std::string& m_path;
    std::vector<Address> m_tiles;
};

/// 0: the world at its finest level; 1: at one that overviews serve; 2, 3: UTM likewise.
Case CaseOf(std::int64_t number)
{
    switch (number) {
    case 0:
        return {WorldRaster(), TilesOf(6, -170, -80, 170, 80)};
    case 1:
        return {WorldRaster(), TilesOf(4, -170, -80, 170, 80)};
    case 2:
        return {UtmRaster(), TilesOf(10, 10.5, 43, 19, 49.5)};
    default:
        return {UtmRaster(), TilesOf(8, 10.5, 43, 19, 49.5)};
    }
}

void Name(benchmark::State& state)
{
    constexpr const char* kNames[] = {"world", "world, overview", "UTM", "UTM, overview"};
    state.SetLabel(fmt::format("{}, {}", kNames[state.range(0)], Origin()));
    state.SetItemsProcessed(state.iterations());
}

std::unique_ptr<KxRasterDataAccessor> Opened(const std::string& path)
{
    // NOLINTNEXTLINE(concurrency-mt-unsafe): the first call comes before any thread
    static const int set = ::setenv("KXTILE_PLUGIN_PATH", KX_PLUGIN_FOLDER, 1);
    static_cast<void>(set);
    std::unique_ptr<KxRasterDataAccessor> accessor(static_cast<KxRasterDataAccessor*>(
        m_gPluginManager.FindPluginByExt("AccessorPlugin", ".tif")));
    if (accessor == nullptr || accessor->Open(path.c_str()) == 0)
        throw std::runtime_error("does not open: " + path);
    return accessor;
}

/// One accessor for all threads, as the library keeps it.
KxRasterDataAccessor& SharedAccessor(const std::string& path)
{
    static const std::unique_ptr<KxRasterDataAccessor> world = Opened(WorldRaster());
    static const std::unique_ptr<KxRasterDataAccessor> utm = Opened(UtmRaster());
    return path == WorldRaster() ? *world : *utm;
}

void Reader(benchmark::State& state)
{
    const Case work = CaseOf(state.range(0));
    KxRasterDataAccessor& accessor = SharedAccessor(work.m_path);
    std::size_t next = static_cast<std::size_t>(state.thread_index()) * 7;
    for (auto _ : state) {
        const auto [level, row, col] = work.m_tiles[next++ % work.m_tiles.size()];
        KxImageData* image = nullptr;
        accessor.ReadTileImage(image, level, row, col);
        benchmark::DoNotOptimize(image);
        if (image == nullptr)
            state.SkipWithError("no tile");
        delete image;
    }
    Name(state);
}
BENCHMARK(Reader)->DenseRange(0, 3)->Unit(benchmark::kMicrosecond)->UseRealTime();
BENCHMARK(Reader)->DenseRange(0, 3)->Threads(2)->Unit(benchmark::kMicrosecond)->UseRealTime();

struct Closed
{
    void operator()(GDALDataset* dataset) const { GDALClose(dataset); }
};
using Raster = std::unique_ptr<GDALDataset, Closed>;

/// A virtual raster of one tile.
Raster WarpedTile(GDALDataset& source, const Address& tile)
{
    const double degrees = std::ldexp(360.0, -tile.m_level);
    const double west = -180 + tile.m_col * degrees;
    const double south = -180 + tile.m_row * degrees;
    const std::string bounds[] = {fmt::format("{:.17g}", west),
                                  fmt::format("{:.17g}", south),
                                  fmt::format("{:.17g}", west + degrees),
                                  fmt::format("{:.17g}", south + degrees)};
    const char* arguments[] = {"-of",
                               "VRT",
                               "-t_srs",
                               "EPSG:4326",
                               "-r",
                               "near",
                               "-ovr",
                               "AUTO",
                               "-te",
                               bounds[0].c_str(),
                               bounds[1].c_str(),
                               bounds[2].c_str(),
                               bounds[3].c_str(),
                               "-ts",
                               "256",
                               "256",
                               nullptr};
    GDALWarpAppOptions* options = GDALWarpAppOptionsNew(const_cast<char**>(arguments), nullptr);
    GDALDatasetH handle = &source;
    Raster warped(GDALDataset::FromHandle(GDALWarp("", nullptr, 1, &handle, options, nullptr)));
    GDALWarpAppOptionsFree(options);
    return warped;
}

void GdalWarpedVrt(benchmark::State& state)
{
    const Case work = CaseOf(state.range(0));
    const Raster source(GDALDataset::Open(work.m_path.c_str()));
    std::vector<unsigned char> pixels(std::size_t{256} * 256 * 3);
    std::size_t next = 0;
    for (auto _ : state) {
        const Raster warped = WarpedTile(*source, work.m_tiles[next++ % work.m_tiles.size()]);
        if (warped == nullptr || warped->RasterIO(GF_Read,
                                                  0,
                                                  0,
                                                  256,
                                                  256,
                                                  pixels.data(),
                                                  256,
                                                  256,
                                                  GDT_Byte,
                                                  3,
                                                  nullptr,
                                                  3,
                                                  3 * 256,
                                                  1,
                                                  nullptr) != CE_None)
            state.SkipWithError("no tile");
        benchmark::DoNotOptimize(pixels.data());
    }
    Name(state);
}
BENCHMARK(GdalWarpedVrt)->DenseRange(0, 3)->Unit(benchmark::kMicrosecond)->UseRealTime();

/// The library's operation: a Web Mercator tile, sampled and encoded, without its memory of source
/// tiles.
void Library(benchmark::State& state)
{
    const bool isWorld = state.range(0) == 0;
    const std::string& path = isWorld ? WorldRaster() : UtmRaster();
    SharedAccessor(path); // says where the plug-in is
    m_gWMTileDataCacheManager.SetBudget(0);
    const int level = isWorld ? 6 : 9;
    int next = 0;
    for (auto _ : state) {
        KxRawData* tile = nullptr;
        const int x = isWorld ? 8 + next % 48 : 271 + next % 11;
        const int y = isWorld ? 16 + next / 48 % 32 : 178 + next / 11 % 8;
        ++next;
        if (KxTileFetcher::FetchTileFromRaster(tile, path.c_str(), x, y, level, 256) == 0 ||
            tile == nullptr)
            state.SkipWithError("no tile");
        delete tile;
    }
    state.SetLabel(isWorld ? "world, encoded" : "UTM, encoded");
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(Library)->DenseRange(0, 1)->Unit(benchmark::kMicrosecond)->UseRealTime();

} // namespace

} // namespace KxC::RasterBench
