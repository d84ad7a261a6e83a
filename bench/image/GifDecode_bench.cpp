// SPDX-License-Identifier: MIT
// GIF is only read, so its tiles are written by giflib.
#include "KxImgUtility.h"
#include "TilePictures.h"
#include "platform/image/TestFiles.h"

#include <benchmark/benchmark.h>

#include <memory>
#include <vector>

namespace KxC {
namespace {

using ImageBench::Bytes;

/// The tile's green channel as palette indices.
Bytes GifOf(const Bytes& tile)
{
    constexpr int kSide = ImageBench::kTileSide;
    ImageTest::NorthUp indices{kSide, kSide, 1, Bytes(std::size_t{kSide} * kSide)};
    for (std::size_t i = 0; i < indices.pixels.size(); ++i)
        indices.pixels[i] = tile[3 * i + 1];
    return ImageTest::GifFile(indices, {kSide, kSide});
}

void DecodeGif(benchmark::State& state)
{
    std::vector<Bytes> files;
    for (const Bytes& tile : ImageBench::Tiles().tiles)
        files.push_back(GifOf(tile));
    std::size_t next = 0;
    for (auto _ : state) {
        const Bytes& file = files[next++ % files.size()];
        const std::unique_ptr<KxImageData> image(KxImgUtility::LoadImageData(
            file.data(), static_cast<unsigned int>(file.size()), "", 1, 1));
        benchmark::DoNotOptimize(image->GetData());
    }
    state.SetLabel(ImageBench::Tiles().origin);
}
BENCHMARK(DecodeGif)->Unit(benchmark::kMicrosecond);

} // namespace
} // namespace KxC
