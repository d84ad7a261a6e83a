// SPDX-License-Identifier: MIT

// What a PNG of a tile costs with each compressor: libpng as it comes, and rows filtered "up" under
// a zlib stream of ISA-L or libdeflate. The fixed chunks around the stream (57 bytes) count too.

#include "TilePictures.h"

#include <benchmark/benchmark.h>
#include <isa-l/igzip_lib.h>
#include <libdeflate.h>
#include <png.h>

#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>

namespace KxC {
namespace {

using namespace ImageBench;

constexpr std::size_t kFixedChunks = 57;

const TileSet& TilesOf(int pixelSize)
{
    return pixelSize == 4 ? TilesWithAlpha() : Tiles();
}

void Run(benchmark::State& state,
         int pixelSize,
         const std::function<std::size_t(const Bytes&)>& write)
{
    const TileSet& set = TilesOf(pixelSize);
    std::size_t next = 0;
    double bytes = 0;
    for (auto _ : state)
        bytes += static_cast<double>(write(set.tiles[next++ % set.tiles.size()]));
    state.counters["bytes"] = benchmark::Counter(bytes, benchmark::Counter::kAvgIterations);
    state.SetLabel(set.origin);
}

void AppendPng(png_structp png, png_bytep bytes, std::size_t count)
{
    Bytes& file = *static_cast<Bytes*>(png_get_io_ptr(png));
    file.insert(file.end(), bytes, bytes + count);
}

void FlushPng(png_structp) {}

/// @param level  of zlib, -1 for libpng's own choice
void Libpng(benchmark::State& state, int pixelSize, int level)
{
    Bytes file;
    Run(state, pixelSize, [&](const Bytes& tile) {
        file.clear();
        png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
        png_infop info = png_create_info_struct(png);
        png_set_write_fn(png, &file, AppendPng, FlushPng);
        png_set_IHDR(png,
                     info,
                     kTileSide,
                     kTileSide,
                     8,
                     pixelSize == 4 ? PNG_COLOR_TYPE_RGBA : PNG_COLOR_TYPE_RGB,
                     PNG_INTERLACE_NONE,
                     PNG_COMPRESSION_TYPE_DEFAULT,
                     PNG_FILTER_TYPE_DEFAULT);
        if (level >= 0)
            png_set_compression_level(png, level);
        png_write_info(png, info);
        for (int row = 0; row < kTileSide; ++row)
            png_write_row(png,
                          tile.data() + static_cast<std::ptrdiff_t>(row) * kTileSide * pixelSize);
        png_write_end(png, nullptr);
        png_destroy_write_struct(&png, &info);
        return file.size();
    });
}

Bytes FilterUp(const Bytes& tile, int pixelSize)
{
    const std::size_t count = static_cast<std::size_t>(kTileSide * pixelSize);
    Bytes filtered((count + 1) * kTileSide);
    std::memcpy(&filtered[1], tile.data(), count);
    for (std::size_t row = 1; row < kTileSide; ++row) {
        unsigned char* out = &filtered[row * (count + 1)];
        const unsigned char* current = &tile[row * count];
        const unsigned char* above = current - count;
        out[0] = 2;
        for (std::size_t i = 0; i < count; ++i)
            out[1 + i] = static_cast<unsigned char>(current[i] - above[i]);
    }
    return filtered;
}

void IsaL(benchmark::State& state, int pixelSize, unsigned int level)
{
    constexpr std::size_t kBuffers[] = {
        1, ISAL_DEF_LVL1_LARGE, ISAL_DEF_LVL2_LARGE, ISAL_DEF_LVL3_LARGE};
    Run(state, pixelSize, [&](const Bytes& tile) {
        Bytes filtered = FilterUp(tile, pixelSize);
        const std::unique_ptr<unsigned char[]> levelBuffer(new unsigned char[kBuffers[level]]);
        const std::size_t room = filtered.size() + 1024;
        const std::unique_ptr<unsigned char[]> out(new unsigned char[room]);
        isal_zstream stream;
        isal_deflate_stateless_init(&stream);
        stream.level = level;
        stream.level_buf = level == 0 ? nullptr : levelBuffer.get();
        stream.level_buf_size = level == 0 ? 0 : static_cast<std::uint32_t>(kBuffers[level]);
        stream.gzip_flag = IGZIP_ZLIB;
        stream.end_of_stream = 1;
        stream.next_in = filtered.data();
        stream.avail_in = static_cast<std::uint32_t>(filtered.size());
        stream.next_out = out.get();
        stream.avail_out = static_cast<std::uint32_t>(room);
        if (isal_deflate_stateless(&stream) != COMP_OK)
            state.SkipWithError("did not compress");
        return stream.total_out + kFixedChunks;
    });
}

void Libdeflate(benchmark::State& state, int pixelSize, int level)
{
    Run(state, pixelSize, [&](const Bytes& tile) {
        const Bytes filtered = FilterUp(tile, pixelSize);
        libdeflate_compressor* compressor = libdeflate_alloc_compressor(level);
        const std::size_t room = filtered.size() + 1024;
        const std::unique_ptr<unsigned char[]> out(new unsigned char[room]);
        const std::size_t size =
            libdeflate_zlib_compress(compressor, filtered.data(), filtered.size(), out.get(), room);
        libdeflate_free_compressor(compressor);
        return size + kFixedChunks;
    });
}

#define KXTILE_PNG_BENCH(Writer, level)                                                            \
    BENCHMARK_CAPTURE(Writer, rgb_level_##level, 3, level)->Unit(benchmark::kMicrosecond);         \
    BENCHMARK_CAPTURE(Writer, rgba_level_##level, 4, level)->Unit(benchmark::kMicrosecond)

BENCHMARK_CAPTURE(Libpng, rgb_default, 3, -1)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Libpng, rgba_default, 4, -1)->Unit(benchmark::kMicrosecond);
KXTILE_PNG_BENCH(Libpng, 1);
KXTILE_PNG_BENCH(IsaL, 0);
KXTILE_PNG_BENCH(IsaL, 1);
KXTILE_PNG_BENCH(IsaL, 2);
KXTILE_PNG_BENCH(IsaL, 3);
KXTILE_PNG_BENCH(Libdeflate, 1);
KXTILE_PNG_BENCH(Libdeflate, 6);

} // namespace
} // namespace KxC
