// SPDX-License-Identifier: MIT

// Time, size and fidelity of the lossy formats at each quality: what the choice of the encoders'
// settings rests on.

#include "TilePictures.h"

#include <benchmark/benchmark.h>
#include <turbojpeg.h>
#include <webp/decode.h>
#include <webp/encode.h>

#include <cstdint>

namespace KxC {
namespace {

using namespace ImageBench;

void Report(benchmark::State& state, double bytes, double psnr)
{
    const double count = static_cast<double>(Tiles().tiles.size());
    state.counters["bytes"] = bytes / count;
    state.counters["psnr_dB"] = psnr / count;
    state.SetLabel(Tiles().origin);
}

/// Runs an encoder over the tiles, then each tile once more for its size and fidelity.
/// @param encode  gives the file of a tile
/// @param decode  gives the R, G, B pixels of a file
template <typename EncodeTile, typename DecodeTile>
void Run(benchmark::State& state, EncodeTile encode, DecodeTile decode)
{
    const std::vector<Bytes>& tiles = Tiles().tiles;
    std::size_t next = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(encode(tiles[next++ % tiles.size()]));
    double bytes = 0;
    double psnr = 0;
    for (const Bytes& tile : tiles) {
        const Bytes file = encode(tile);
        bytes += static_cast<double>(file.size());
        psnr += Psnr(tile, decode(file));
    }
    Report(state, bytes, psnr);
}

void Jpeg(benchmark::State& state, int subsampling)
{
    const int quality = static_cast<int>(state.range(0));
    const auto encode = [&](const Bytes& tile) {
        tjhandle handle = tjInitCompress();
        unsigned long size = tjBufSize(kTileSide, kTileSide, subsampling);
        Bytes file(size);
        unsigned char* out = file.data();
        tjCompress2(handle,
                    tile.data(),
                    kTileSide,
                    0,
                    kTileSide,
                    TJPF_RGB,
                    &out,
                    &size,
                    subsampling,
                    quality,
                    TJFLAG_NOREALLOC);
        tjDestroy(handle);
        file.resize(size);
        return file;
    };
    const auto decode = [](const Bytes& file) {
        tjhandle handle = tjInitDecompress();
        Bytes pixels(std::size_t{3} * kTileSide * kTileSide);
        tjDecompress2(
            handle, file.data(), file.size(), pixels.data(), kTileSide, 0, kTileSide, TJPF_RGB, 0);
        tjDestroy(handle);
        return pixels;
    };
    Run(state, encode, decode);
}

int AppendWebp(const std::uint8_t* bytes, std::size_t count, const WebPPicture* picture)
{
    Bytes& file = *static_cast<Bytes*>(picture->custom_ptr);
    file.insert(file.end(), bytes, bytes + count);
    return 1;
}

void Webp(benchmark::State& state)
{
    WebPConfig config;
    WebPConfigInit(&config);
    config.quality = static_cast<float>(state.range(0));
    config.method = static_cast<int>(state.range(1));
    const auto encode = [&](const Bytes& tile) {
        Bytes file;
        WebPPicture picture;
        WebPPictureInit(&picture);
        picture.width = kTileSide;
        picture.height = kTileSide;
        picture.writer = AppendWebp;
        picture.custom_ptr = &file;
        WebPPictureImportRGB(&picture, tile.data(), kTileSide * 3);
        WebPEncode(&config, &picture);
        WebPPictureFree(&picture);
        return file;
    };
    const auto decode = [](const Bytes& file) {
        Bytes pixels(std::size_t{3} * kTileSide * kTileSide);
        WebPDecodeRGBInto(file.data(), file.size(), pixels.data(), pixels.size(), kTileSide * 3);
        return pixels;
    };
    Run(state, encode, decode);
}

BENCHMARK_CAPTURE(Jpeg, 420, TJSAMP_420)
    ->Arg(75)
    ->Arg(80)
    ->Arg(85)
    ->Arg(90)
    ->Arg(95)
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Jpeg, 444, TJSAMP_444)
    ->Arg(75)
    ->Arg(80)
    ->Arg(85)
    ->Arg(90)
    ->Arg(95)
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(Webp)
    ->ArgNames({"quality", "method"})
    ->ArgsProduct({{75, 80, 90}, {0, 1, 2, 4}})
    ->Unit(benchmark::kMicrosecond);

} // namespace
} // namespace KxC
