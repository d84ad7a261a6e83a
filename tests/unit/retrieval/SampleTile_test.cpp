// SPDX-License-Identifier: MIT
#include "SampleTile.h"

#include "AddressTiles.h"
#include "Sampler.h"
#include "TileNumbers.h"
#include "unit/addressing/SweepRandom.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <numbers>
#include <optional>
#include <string>
#include <vector>

namespace KxC {
namespace {

using Testing::PixelAt;
using Testing::SweepRandom;

struct Place
{
    double m_lon;
    double m_lat;
};

/// Where the shifts and the grids have their edges, and some plain ground between.
constexpr Place kPlaces[] = {
    {116.404, 39.915}, // Beijing
    {121.4737, 31.2304},
    {91.1, 29.6},
    {105, 35},     // the kink of GCJ-02's root, and of its
                   // polynomial
    {105, 29.999}, // with a seam of Baidu's plane
    {72.004, 40},  // the box's edges and corners
    {137.8347, 45},
    {110, 0.8293},
    {110, 55.8271},
    {72.004, 0.8293},
    {137.8347, 55.8271},
    {50, 15}, // the other seams of Baidu's plane
    {100, 45},
    {30, -30},
    {-60, -45},
    {20, 60},
    {20, -60},
    {40, 74},
    {40, -74},
    {0, 0},
    {0.001, 0.001},
    {180, 10}, // the antimeridian
    {-180, -10},
    {179.995, 50},
    {-180, 85.0511}, // corners of the world
    {179.999, -85.0511},
    {10, 85.0511},
};

/// The tile of a level that holds a place, or lies next to the grid's edge there.
WebMercatorTile TileAt(const Place& place, int level)
{
    const double n = TilesPerAxis(level);
    const double psi = std::asinh(std::tan(place.m_lat * std::numbers::pi / 180));
    const auto index = [n](double share) {
        return static_cast<int>(std::clamp(std::floor(share * n), 0.0, n - 1));
    };
    return {index((place.m_lon + 180) / 360), index((1 - psi / std::numbers::pi) / 2), level};
}

struct Request
{
    SourceGrid m_grid;
    WebMercatorTile m_tile;
    int m_size;

    std::string Text() const
    {
        return "scheme " + std::to_string(m_grid.m_scheme) + " datum " +
               std::to_string(m_grid.m_datum) + " tile " + std::to_string(m_tile.m_level) + "/" +
               std::to_string(m_tile.m_col) + "/" + std::to_string(m_tile.m_row) +
               " source level " + std::to_string(m_grid.m_level) + " size " +
               std::to_string(m_size);
    }
};

Request MakeRequest(int scheme, int datum, const WebMercatorTile& tile, int size)
{
    return {{scheme, datum, SourceLevel(tile.m_level, size, 256)}, tile, size};
}

/// Every place of a range holds a tile that says where it is; the tiles are the list's.
void Fill(SourceTiles& tiles, int level, int tileSize = 256, int pixelSize = 4)
{
    const TileRange& range = tiles.Range();
    for (int row = range.m_minRow; row <= range.m_maxRow; ++row)
        for (int col = range.m_minCol; col <= range.m_maxCol; ++col)
            tiles.Put(row,
                      col,
                      new KxWMImageTileData(
                          level,
                          row,
                          col,
                          Testing::AddressImage({level, row, col}, tileSize, pixelSize).release()));
}

std::optional<TileRange> RangeOf(const Request& request)
{
    const double step = TileSpan(request.m_tile.m_level) * 0.125;
    TileRange range = FindTileRange(ExtentOf(request.m_tile), step, step, request.m_grid);
    return range.ClampTo(TilesPerAxis(request.m_grid.m_level)) ? std::optional(range)
                                                               : std::nullopt;
}

SampleAxes AxesOf(const Request& request)
{
    const Extent extent = ExtentOf(request.m_tile);
    const double step = TileSpan(request.m_tile.m_level) / (request.m_size - 1);
    return {SamplePositions(extent.m_minX, extent.m_maxX, step, request.m_size),
            SamplePositions(extent.m_minY, extent.m_maxY, step, request.m_size)};
}

/// Where the quick way's first differing pixel is; empty where there is none.
std::string Difference(const Request& request, const SourceTiles& tiles, int pixelSize = 4)
{
    const int format = pixelSize == 4 ? KxPixelFormat_RGBA : KxPixelFormat_RGB;
    KxImageData quick(request.m_size, request.m_size, format);
    KxImageData defined(request.m_size, request.m_size, format);
    const SampleAxes axes = AxesOf(request);
    SampleTile(quick, axes, tiles, request.m_grid);
    SampleTileByDefinition(defined, axes, tiles, request.m_grid);
    const auto bytes =
        static_cast<std::size_t>(quick.GetRowBytes()) * static_cast<std::size_t>(request.m_size);
    if (std::memcmp(quick.GetData(), defined.GetData(), bytes) == 0)
        return {};
    for (int row = 0; row < request.m_size; ++row)
        for (int column = 0; column < request.m_size; ++column)
            if (PixelAt(quick, row, column) != PixelAt(defined, row, column))
                return request.Text() + ": row " + std::to_string(row) + " column " +
                       std::to_string(column);
    return {};
}

std::string Difference(const Request& request)
{
    const std::optional<TileRange> range = RangeOf(request);
    if (!range)
        return {};
    SourceTiles tiles(*range, false);
    Fill(tiles, request.m_grid.m_level);
    return Difference(request, tiles);
}

/// The schemes of each grid: Web Mercator, Baidu's and the geographic one.
const std::vector<std::vector<int>> kFamilies = {{10, 3, 6}, {13, 4}, {9, 0, 5, 11, 14}};
constexpr int kDatums[] = {0, 1, 2};
constexpr int kLastLevel = 20;

/// The sweep is thin: each test below says what it covers in any run; which schemes, places and
/// other levels it takes besides is drawn anew in each run. Each prints its KXTILE_SEED; with that
/// in the environment it draws the same again.
/// KXTILE_SWEEP=1 in the environment replaces the draws by every combination of schemes, datums,
/// kPlaces, levels and sizes, which takes hours; KXTILE_SWEEP=n takes one in n of them.
int AskedSweep()
{
    const char* asked = std::getenv("KXTILE_SWEEP");             // NOLINT(concurrency-mt-unsafe)
    return asked == nullptr ? 0 : std::max(1, std::atoi(asked)); // NOLINT(cert-err34-c)
}

/// One in `thin` of every combination.
void ExpectSame(int thin, const std::vector<int>& sizes)
{
    int count = 0;
    for (const std::vector<int>& schemes : kFamilies)
        for (const int scheme : schemes)
            for (const int datum : kDatums)
                for (const Place& place : kPlaces)
                    for (int level = 0; level <= kLastLevel; ++level)
                        for (const int size : sizes)
                            if (count++ % thin == 0) {
                                ASSERT_EQ(Difference(MakeRequest(
                                              scheme, datum, TileAt(place, level), size)),
                                          "");
                            }
}

/// Anywhere in GCJ-02's box, or where there are edges.
Place DrawPlace(SweepRandom& random)
{
    if (random.Index(2) == 0)
        return random.Of(kPlaces);
    return {random.Between(72, 138), random.Between(0.8, 55.9)};
}

/// A case with tiles under it, if there is any in a number of draws: the coarsest levels of
/// Baidu's grid have none.
Request Draw(SweepRandom& random, const std::vector<int>& schemes, int datum, int level, int size)
{
    constexpr int kDraws = 20;
    Request request{};
    for (int i = 0; i < kDraws; ++i) {
        request = MakeRequest(random.Of(schemes), datum, TileAt(DrawPlace(random), level), size);
        if (RangeOf(request))
            break;
    }
    return request;
}

TEST(SampleTile, GivesThePixelsOfTheDefinitionAtEachLevelOfEachGridAndDatum)
{
    if (const int thin = AskedSweep())
        return ExpectSame(thin, {64});
    constexpr int kRounds = 3;
    SweepRandom random;
    for (const std::vector<int>& schemes : kFamilies)
        for (const int datum : kDatums)
            for (int level = 0; level <= kLastLevel; ++level)
                for (int round = 0; round < kRounds; ++round)
                    ASSERT_EQ(Difference(Draw(random, schemes, datum, level, 64)), "")
                        << random.Text();
}

/// Each size at a fine level, where shifts are interpolated between knots, and at any level; the
/// largest, which takes a million of the definition's pixels, at one of the two.
TEST(SampleTile, GivesThePixelsOfTheDefinitionInEachSizeForEachGridAndDatum)
{
    if (const int thin = AskedSweep())
        return ExpectSame(thin, {256, 300, 512, 1024});
    constexpr int kFirstFine = 9;
    SweepRandom random;
    for (const std::vector<int>& schemes : kFamilies)
        for (const int datum : kDatums)
            for (const int size : {64, 256, 300, 512, 1024}) {
                const int fine = kFirstFine + static_cast<int>(random.Index(12));
                std::vector<int> levels = {fine, static_cast<int>(random.Index(kLastLevel + 1))};
                if (size == 1024)
                    levels = {random.Of(levels)};
                for (const int level : levels)
                    ASSERT_EQ(Difference(Draw(random, schemes, datum, level, size)), "")
                        << random.Text();
            }
}

TEST(SampleTile, GivesThePixelsOfTheDefinitionAtTheFinestLevels)
{
    for (int level = 21; level <= kMaxLevel; ++level)
        for (const int scheme : {9, 10, 13})
            for (const int datum : {0, 1, 2})
                for (const std::size_t place : {0U, 3U, 19U, 23U})
                    ASSERT_EQ(
                        Difference(MakeRequest(scheme, datum, TileAt(kPlaces[place], level), 64)),
                        "");
}

TEST(SampleTile, GivesThePixelsOfTheDefinitionOutsideTheGrid)
{
    for (const int scheme : {9, 10, 13})
        for (const int datum : {0, 1, 2})
            for (const int level : {0, 2, 6})
                for (const int far : {-1, TilesPerAxis(level)})
                    for (const int near : {0, TilesPerAxis(level) / 2}) {
                        ASSERT_EQ(Difference(MakeRequest(scheme, datum, {far, near, level}, 64)),
                                  "");
                        ASSERT_EQ(Difference(MakeRequest(scheme, datum, {near, far, level}, 64)),
                                  "");
                    }
}

TEST(SampleTile, GivesThePixelsOfTheDefinitionForAnyPictures)
{
    for (const int scheme : {9, 10, 13})
        for (const int datum : {0, 2})
            for (const int outputPixelSize : {3, 4})
                for (const int tileSize : {1, 100, 256, 300}) {
                    const Request request = MakeRequest(scheme, datum, TileAt(kPlaces[0], 11), 200);
                    SourceTiles tiles(*RangeOf(request), false);
                    Fill(tiles, 11, tileSize, 7 - outputPixelSize);
                    ASSERT_EQ(Difference(request, tiles, outputPixelSize), "") << tileSize;
                }
}

TEST(SampleTile, GivesThePixelsOfTheDefinitionForPicturesOfDifferentSizes)
{
    for (const int scheme : {9, 10, 13}) {
        const Request request = MakeRequest(scheme, 1, TileAt(kPlaces[0], 11), 512);
        SourceTiles tiles(*RangeOf(request), false);
        const TileRange& range = tiles.Range();
        for (int row = range.m_minRow; row <= range.m_maxRow; ++row)
            for (int col = range.m_minCol; col <= range.m_maxCol; ++col) {
                const int kind = (row + col) % 3;
                const SourceTile address{12, row, col};
                auto image =
                    kind == 0 ? nullptr : Testing::AddressImage(address, 100 * kind, 2 + kind);
                tiles.Put(row, col, new KxWMImageTileData(12, row, col, image.release()));
            }
        ASSERT_EQ(Difference(request, tiles), "");
    }
}

TEST(SampleTile, GivesThePixelsOfTheDefinitionBilinearly)
{
    KxImageData::SetBilinear(true);
    for (const int scheme : {9, 10, 13})
        for (const int datum : {0, 1, 2})
            for (const int level : {3, 12, 18})
                EXPECT_EQ(Difference(MakeRequest(scheme, datum, TileAt(kPlaces[0], level), 150)),
                          "");
    KxImageData::SetBilinear(false);
}

} // namespace
} // namespace KxC
