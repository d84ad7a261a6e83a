// SPDX-License-Identifier: MIT
// Every pixel of tiles cut from rasters, against the plain way.
#include "unit/retrieval/AddressTiles.h"
#include "unit/support/ScriptedRasters.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <thread>
#include <vector>

namespace KxC {
namespace {

using Testing::AddressPixel;
using Testing::Pixel;

constexpr double kHalfWorld = 20037508.342789244;

struct CutCase
{
    int x, y, z, tileSize;
    int level; ///< of the raster's own tiles
};

/// Where the samples of an output tile lie: from the west or south edge in steps, the last one
/// just inside the other edge.
std::vector<double> Samples(double first, double last, int count)
{
    const double step = (last - first) / (count - 1);
    std::vector<double> samples;
    double at = first;
    for (int i = 0; i < count; ++i) {
        samples.push_back(at);
        at = i == count - 2 ? last - step * 0.0001 : at + step;
    }
    return samples;
}

class RasterPixels : public Testing::OutputTileTest
{
protected:
    static constexpr int kLastRowWithTile = 5; ///< of level 3; scaled on other levels

    RasterPixels()
    {
        m_rasters.m_image = [](int level, int row, int col) {
            return IsThere(level, row) ? Testing::AddressImage({level, row, col}, 256, 4) : nullptr;
        };
    }
    static bool IsThere(int level, int row) { return row >> (level - 3) <= kLastRowWithTile; }

    /// The pixel of the raster's tiles at a place in Web Mercator metres.
    static Pixel Expected(double x, double y, int level)
    {
        double col = 0.0;
        double row = 0.0;
        KxTileFetcher::GetColRow(col, row, 0, x, y, level, 0);
        const SourceTile tile{
            level, static_cast<int>(std::floor(row)), static_cast<int>(std::floor(col))};
        // The world's west edge lies, by the grid's own arithmetic, 1e-15 tiles beside column 0.
        if (tile.m_col < 0 || !IsThere(level, tile.m_row))
            return Testing::kNoPixel;
        return AddressPixel(tile,
                            static_cast<int>((row - tile.m_row) * 256),
                            static_cast<int>((col - tile.m_col) * 256));
    }

    int CountWrong(const CutCase& wanted)
    {
        const auto image = Decoded();
        if (image == nullptr)
            return -1;
        const double edge = 2.0 * kHalfWorld / std::ldexp(1.0, wanted.z);
        const double west = wanted.x * edge - kHalfWorld;
        const double north = kHalfWorld - wanted.y * edge;
        const auto xs = Samples(west, west + edge, wanted.tileSize);
        const auto ys = Samples(north - edge, north, wanted.tileSize);
        int wrong = 0;
        for (int row = 0; row < wanted.tileSize; ++row)
            for (int col = 0; col < wanted.tileSize; ++col) {
                const double x = xs[static_cast<std::size_t>(col)];
                const double y = ys[static_cast<std::size_t>(row)];
                const Pixel pixel = Testing::PixelAt(*image, row, col);
                wrong += pixel != Expected(x, y, wanted.level) ? 1 : 0;
            }
        return wrong;
    }

    Testing::ScriptedRasters m_rasters;
};

TEST_F(RasterPixels, AreThoseOfThePlainWay)
{
    int count = 0;
    for (const CutCase& wanted : {CutCase{5, 2, 3, 256, 3},
                                  {0, 0, 3, 256, 3},
                                  {7, 7, 3, 100, 3},
                                  {5, 1, 3, 512, 4},
                                  {41, 20, 6, 256, 6},
                                  {9, 6, 4, 1024, 6}}) {
        const KxString path = ("/pixels" + std::to_string(count++) + ".tif").c_str();
        ASSERT_EQ(KxTileFetcher::FetchTileFromRaster(
                      NewOut(), path, wanted.x, wanted.y, wanted.z, wanted.tileSize),
                  1);
        EXPECT_EQ(CountWrong(wanted), 0) << wanted.x << "/" << wanted.y << "/" << wanted.z;
    }
}

TEST_F(RasterPixels, AreTheSameForThreadsThatCutAtOnce)
{
    std::vector<std::unique_ptr<KxRawData>> tiles(4);
    std::vector<std::jthread> threads;
    for (auto& tile : tiles)
        threads.emplace_back([&tile] {
            KxRawData* cut = nullptr;
            KxTileFetcher::FetchTileFromRaster(cut, "/threads.tif", 5, 2, 3, 256);
            tile.reset(cut);
        });
    threads.clear();
    for (const auto& tile : tiles) {
        ASSERT_NE(tile, nullptr);
        ASSERT_EQ(tile->GetSize(), tiles[0]->GetSize());
        EXPECT_EQ(std::memcmp(tile->GetData(), tiles[0]->GetData(), tile->GetSize()), 0);
    }
    NewOut() = tiles[0].release();
    EXPECT_EQ(CountWrong({5, 2, 3, 256, 3}), 0);
}

} // namespace
} // namespace KxC
