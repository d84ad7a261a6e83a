// SPDX-License-Identifier: MIT
#include "KxImgUtility.h"

#include "TilePictures.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <memory>

namespace KxC {
namespace {

using namespace ImageBench;

const TileSet& TilesOf(int pixelSize)
{
    return pixelSize == 4 ? TilesWithAlpha() : Tiles();
}

Bytes Save(const Bytes& tile, int pixelSize, const char* ext)
{
    unsigned char* data = nullptr;
    unsigned int size = 0;
    KxImgUtility::SaveImageToMemory(
        tile.data(), kTileSide, kTileSide, pixelSize * 8, data, size, ext, 0);
    Bytes file(data, data + size);
    std::free(data);
    return file;
}

std::vector<Bytes> SaveAll(int pixelSize, const char* ext)
{
    std::vector<Bytes> files;
    for (const Bytes& tile : TilesOf(pixelSize).tiles)
        files.push_back(Save(tile, pixelSize, ext));
    return files;
}

void Encode(benchmark::State& state, const char* ext, int pixelSize)
{
    const TileSet& set = TilesOf(pixelSize);
    std::size_t next = 0;
    double bytes = 0;
    for (auto _ : state) {
        unsigned char* data = nullptr;
        unsigned int size = 0;
        KxImgUtility::SaveImageToMemory(set.tiles[next++ % set.tiles.size()].data(),
                                        kTileSide,
                                        kTileSide,
                                        pixelSize * 8,
                                        data,
                                        size,
                                        ext,
                                        0);
        bytes += size;
        std::free(data);
    }
    state.counters["bytes"] = benchmark::Counter(bytes, benchmark::Counter::kAvgIterations);
    state.SetLabel(set.origin);
}

void Decode(benchmark::State& state, const char* ext, int pixelSize)
{
    const std::vector<Bytes> files = SaveAll(pixelSize, ext);
    std::size_t next = 0;
    for (auto _ : state) {
        const Bytes& file = files[next++ % files.size()];
        const std::unique_ptr<KxImageData> image(KxImgUtility::LoadImageData(
            file.data(), static_cast<unsigned int>(file.size()), "", 1, 1));
        benchmark::DoNotOptimize(image->GetData());
    }
    state.SetLabel(TilesOf(pixelSize).origin);
}

void Check(benchmark::State& state, const char* ext, int pixelSize)
{
    const std::vector<Bytes> files = SaveAll(pixelSize, ext);
    std::size_t next = 0;
    for (auto _ : state) {
        const Bytes& file = files[next++ % files.size()];
        benchmark::DoNotOptimize(KxImgUtility::IsCompletedImage(
            file.data(), static_cast<unsigned int>(file.size()), ""));
    }
    state.SetLabel(TilesOf(pixelSize).origin);
}

BENCHMARK_CAPTURE(Encode, png_rgb, ".png", 3)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Encode, png_rgba, ".png", 4)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Encode, jpeg, ".jpeg", 3)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Encode, webp_rgb, ".webp", 3)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Encode, webp_rgba, ".webp", 4)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Encode, tiff_rgb, ".tif", 3)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Encode, tiff_rgba, ".tif", 4)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Decode, png_rgb, ".png", 3)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Decode, png_rgba, ".png", 4)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Decode, jpeg, ".jpeg", 3)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Decode, webp_rgb, ".webp", 3)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Decode, webp_rgba, ".webp", 4)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Check, png_rgb, ".png", 3)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Check, jpeg, ".jpeg", 3)->Unit(benchmark::kMicrosecond);

} // namespace
} // namespace KxC
