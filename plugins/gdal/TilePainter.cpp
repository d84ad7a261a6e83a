// SPDX-License-Identifier: MIT
#include "TilePainter.h"

#include "Colours.h"
#include "RasterError.h"
#include "RasterFile.h"
#include "WindowSamples.h"

#include <gdal_priv.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <limits>
#include <new>
#include <utility>
#include <vector>

namespace KxC {

namespace {

using Image = std::unique_ptr<KxImageData>;

/// A window is read at once when it has at most so many pixels for one of the tile, or so few.
constexpr double kDense = 32;
constexpr double kSmall = 4096;
constexpr double kMaxWindow = 2.0 * 1024 * 1024;
/// Side of the smallest part of a tile that is read at once; in sparser ones, pixel by pixel.
constexpr int kSmallestPart = 16;

Image NewImage(int format)
{
    Image image = std::make_unique<KxImageData>(kTileSide, kTileSide, format);
    if (image->GetData() == nullptr)
        throw std::bad_alloc();
    return image;
}

/// A square of a tile's pixels.
struct Part
{
    int m_row;
    int m_column;
    int m_side;

    double Pixels() const { return static_cast<double>(m_side) * m_side; }
};

std::size_t IndexOf(int row, int column)
{
    return static_cast<std::size_t>(row) * kTileSide + static_cast<std::size_t>(column);
}

template <typename Sample>
class TilePainter
{
public:
    TilePainter(GDALDataset& dataset,
                const BandPlan& plan,
                const PixelMap& map,
                ReadBudget& budget,
                KxImageData& image)
        : m_map(map), m_colours(plan), m_samples(dataset, plan, budget), m_data(image.GetData()),
          m_pixelSize(static_cast<std::size_t>(image.GetPixelSize())),
          m_isPlain(plan.m_kind == BandPlan::Kind::Colour && plan.IsOpaque())
    {
    }

    /// @return false when the file cannot be read
    bool PaintAll() { return Paint({0, 0, kTileSide}, m_map.m_window); }

private:
    bool Paint(const Part& part)
    {
        RasterWindow window = {};
        return !FindWindow(part, window) || Paint(part, window);
    }

    bool Paint(const Part& part, const RasterWindow& window)
    {
        const double pixels = window.Pixels();
        if (pixels <= kMaxWindow && pixels <= std::max(kSmall, kDense * part.Pixels()))
            return PaintAtOnce(part, window);
        return part.m_side > kSmallestPart ? PaintQuarters(part) : PaintSingly(part);
    }

    /// The least window that holds what the part takes.
    bool FindWindow(const Part& part, RasterWindow& window) const
    {
        int left = std::numeric_limits<int>::max();
        int top = left;
        int right = PixelMap::kOutside;
        int bottom = PixelMap::kOutside;
        for (int row = part.m_row; row < part.m_row + part.m_side; ++row) {
            const std::size_t first = IndexOf(row, part.m_column);
            for (std::size_t i = first; i < first + static_cast<std::size_t>(part.m_side); ++i) {
                if (m_map.m_rows[i] == PixelMap::kOutside)
                    continue;
                left = std::min(left, m_map.m_columns[i]);
                right = std::max(right, m_map.m_columns[i]);
                top = std::min(top, m_map.m_rows[i]);
                bottom = std::max(bottom, m_map.m_rows[i]);
            }
        }
        window = {left, top, right - left + 1, bottom - top + 1};
        return right != PixelMap::kOutside;
    }

    bool PaintQuarters(const Part& part)
    {
        const int half = part.m_side / 2;
        // The north first: that is the order in which most files lie.
        return Paint({part.m_row + half, part.m_column, half}) &&
               Paint({part.m_row + half, part.m_column + half, half}) &&
               Paint({part.m_row, part.m_column, half}) &&
               Paint({part.m_row, part.m_column + half, half});
    }

    bool PaintAtOnce(const Part& part, const RasterWindow& window)
    {
        if (!m_samples.Read(window))
            return false;
        for (int row = part.m_row; row < part.m_row + part.m_side; ++row) {
            const std::size_t first = IndexOf(row, part.m_column);
            for (std::size_t i = first; i < first + static_cast<std::size_t>(part.m_side); ++i)
                if (m_map.m_rows[i] != PixelMap::kOutside)
                    PaintPixel(i);
        }
        return true;
    }

    bool PaintSingly(const Part& part)
    {
        for (int row = part.m_row + part.m_side - 1; row >= part.m_row; --row)
            for (int column = part.m_column; column < part.m_column + part.m_side; ++column) {
                const std::size_t i = IndexOf(row, column);
                if (m_map.m_rows[i] == PixelMap::kOutside)
                    continue;
                if (!m_samples.Read({m_map.m_columns[i], m_map.m_rows[i], 1, 1}))
                    return false;
                PaintPixel(i);
            }
        return true;
    }

    void PaintPixel(std::size_t index)
    {
        const int column = m_map.m_columns[index];
        const int row = m_map.m_rows[index];
        unsigned char* to = m_data + index * m_pixelSize;
        const Sample* values = m_samples.At(column, row);
        if (m_isPlain) {
            for (std::size_t i = 0; i < 3; ++i)
                to[i] = static_cast<unsigned char>(values[i]);
            if (m_pixelSize == 4)
                to[3] = 255;
            return;
        }
        unsigned char pixel[4];
        m_colours.Paint(values, m_samples.MaskAt(column, row), pixel);
        std::memcpy(to, pixel, m_pixelSize);
    }

    const PixelMap& m_map;
    Colours m_colours;
    WindowSamples<Sample> m_samples;
    unsigned char* m_data;
    std::size_t m_pixelSize;
    bool m_isPlain; ///< bytes of the raster are those of the tile
};

/// Bytes that are decoded for a tile at most. Rasters without overviews cost this much on their
/// coarsest levels when they have tens of thousands of pixels a side.
constexpr double kMaxDecoded = 16.0 * 1024 * 1024 * 1024;
/// Seconds of the processor's time that go into a tile at most: what that much takes to decode.
constexpr double kMaxSeconds = 60;

/// True when the blocks that hold the map's pixels can be decoded in fair time.
bool IsFair(GDALDataset& dataset, const BandPlan& plan, const PixelMap& map)
{
    if (map.m_window.Pixels() <= kMaxWindow)
        return true;
    GDALRasterBand& band = *dataset.GetRasterBand(plan.m_bands[0]);
    int width = 1;
    int height = 1;
    band.GetBlockSize(&width, &height);
    std::vector<std::pair<int, int>> blocks;
    for (std::size_t i = 0; i < map.m_rows.size(); ++i)
        if (map.m_rows[i] != PixelMap::kOutside)
            blocks.emplace_back(map.m_rows[i] / height, map.m_columns[i] / width);
    std::sort(blocks.begin(), blocks.end());
    const auto end = std::unique(blocks.begin(), blocks.end());
    const double bytes =
        static_cast<double>(width) * height * GDALGetDataTypeSizeBytes(band.GetRasterDataType()) *
        std::max<double>(BandsInBlock(dataset), static_cast<double>(plan.m_bands.size()));
    return bytes * static_cast<double>(end - blocks.begin()) <= kMaxDecoded;
}

/// @throws RasterError
void PaintInto(GDALDataset& dataset, const BandPlan& plan, const PixelMap& map, KxImageData& image)
{
    if (!IsFair(dataset, plan, map))
        throw RasterError("it has no overviews, and a tile that shows so much of it would take too "
                          "long to read; gdaladdo makes them");
    ReadBudget budget(kMaxSeconds);
    const bool isPainted =
        plan.m_isByte ? TilePainter<unsigned char>(dataset, plan, map, budget, image).PaintAll()
                      : TilePainter<double>(dataset, plan, map, budget, image).PaintAll();
    if (budget.IsSpent())
        throw RasterError("a tile of it takes too long to read");
    if (!isPainted)
        throw GdalError("it is damaged, or cannot be read");
}

struct Transparency
{
    bool m_isVisible = false; ///< anywhere
    bool m_isOpaque = true;   ///< everywhere
};

Transparency TransparencyOf(const KxImageData& image)
{
    Transparency found;
    const unsigned char* data = image.GetData();
    for (std::size_t i = 0; i < IndexOf(kTileSide, 0); ++i) {
        found.m_isVisible = found.m_isVisible || data[4 * i + 3] != 0;
        found.m_isOpaque = found.m_isOpaque && data[4 * i + 3] == 255;
    }
    return found;
}

Image WithoutAlpha(const KxImageData& image)
{
    Image result = NewImage(KxPixelFormat_RGB);
    for (std::size_t i = 0; i < IndexOf(kTileSide, 0); ++i)
        std::memcpy(result->GetData() + 3 * i, image.GetData() + 4 * i, 3);
    return result;
}

} // namespace

Image PaintTile(GDALDataset& dataset, const BandPlan& plan, const PixelMap& map)
{
    const bool isOpaque = map.m_isFull && plan.IsOpaque();
    Image image = NewImage(isOpaque ? KxPixelFormat_RGB : KxPixelFormat_RGBA);
    PaintInto(dataset, plan, map, *image);
    if (isOpaque)
        return image;
    const Transparency transparency = TransparencyOf(*image);
    if (!transparency.m_isVisible)
        return nullptr;
    return transparency.m_isOpaque ? WithoutAlpha(*image) : std::move(image);
}

} // namespace KxC
