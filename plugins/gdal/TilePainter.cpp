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
#include <type_traits>
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
        const auto take = [&](const PixelMap::Place& place) {
            if (place.IsOutside())
                return;
            left = std::min(left, place.m_column);
            right = std::max(right, place.m_column);
            top = std::min(top, place.m_row);
            bottom = std::max(bottom, place.m_row);
        };
        if (m_map.m_isEven)
            VisitLines(part, take);
        else
            VisitAll(part, take);
        window = {left, top, right - left + 1, bottom - top + 1};
        return right != PixelMap::kOutside;
    }

    template <class Visit>
    void VisitAll(const Part& part, const Visit& visit) const
    {
        for (int row = part.m_row; row < part.m_row + part.m_side; ++row)
            for (int column = part.m_column; column < part.m_column + part.m_side; ++column)
                visit(m_map.At(row, column));
    }

    /// Of an even map: one row and one column that lie on the raster hold all there is.
    template <class Visit>
    void VisitLines(const Part& part, const Visit& visit) const
    {
        const auto firstInside = [&](const std::vector<int>& line, int first) {
            const auto begin = line.begin() + first;
            return first + static_cast<int>(
                               std::find_if(begin,
                                            begin + part.m_side - 1,
                                            [](int index) { return index != PixelMap::kOutside; }) -
                               begin);
        };
        const int someRow = firstInside(m_map.m_rows, part.m_row);
        const int someColumn = firstInside(m_map.m_columns, part.m_column);
        for (int i = 0; i < part.m_side; ++i) {
            visit(m_map.At(someRow, part.m_column + i));
            visit(m_map.At(part.m_row + i, someColumn));
        }
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
        for (int row = part.m_row; row < part.m_row + part.m_side; ++row)
            if (m_isPlain && m_map.m_isEven)
                CopyRow(part, row);
            else
                for (int column = part.m_column; column < part.m_column + part.m_side; ++column)
                    PaintPixel(row, column, m_map.At(row, column));
        return true;
    }

    bool PaintSingly(const Part& part)
    {
        for (int row = part.m_row + part.m_side - 1; row >= part.m_row; --row)
            for (int column = part.m_column; column < part.m_column + part.m_side; ++column) {
                const PixelMap::Place place = m_map.At(row, column);
                if (place.IsOutside())
                    continue;
                if (!m_samples.Read({place.m_column, place.m_row, 1, 1}))
                    return false;
                PaintPixel(row, column, place);
            }
        return true;
    }

    void PaintPixel(int row, int column, const PixelMap::Place& place)
    {
        if (place.IsOutside())
            return;
        unsigned char* to = m_data + IndexOf(row, column) * m_pixelSize;
        const Sample* values = m_samples.At(place.m_column, place.m_row);
        if (m_isPlain)
            return m_pixelSize == 4 ? CopyValues<4>(values, to) : CopyValues<3>(values, to);
        unsigned char pixel[4];
        m_colours.Paint(values, m_samples.MaskAt(place.m_column, place.m_row), pixel);
        std::memcpy(to, pixel, m_pixelSize);
    }

    /// A row of an even map whose bytes are those of the tile.
    void CopyRow(const Part& part, int row)
    {
        if (m_map.m_rows[static_cast<std::size_t>(row)] == PixelMap::kOutside)
            return;
        if (m_pixelSize == 4)
            CopyRow<4>(part, row);
        else
            CopyRow<3>(part, row);
    }

    template <std::size_t PixelSize>
    void CopyRow(const Part& part, int row)
    {
        // All in locals: bytes that are written could be anything's.
        const int* const columns = m_map.m_columns.data();
        const int left = m_samples.Window().m_left;
        const Sample* const values =
            m_samples.At(left, m_map.m_rows[static_cast<std::size_t>(row)]);
        unsigned char* to = m_data + IndexOf(row, part.m_column) * PixelSize;
        for (int i = part.m_column; i < part.m_column + part.m_side; ++i, to += PixelSize)
            if (columns[i] != PixelMap::kOutside)
                CopyValues<PixelSize>(values + std::ptrdiff_t{3} * (columns[i] - left), to);
    }

    template <std::size_t PixelSize>
    static void CopyValues(const Sample* values, unsigned char* to)
    {
        if constexpr (std::is_same_v<Sample, unsigned char>)
            std::memcpy(to, values, 3);
        else
            for (std::size_t i = 0; i < 3; ++i)
                to[i] = static_cast<unsigned char>(values[i]);
        if (PixelSize == 4)
            to[3] = 255;
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
    for (int row = 0; row < kTileSide; ++row)
        for (int column = 0; column < kTileSide; ++column) {
            const PixelMap::Place place = map.At(row, column);
            if (!place.IsOutside())
                blocks.emplace_back(place.m_row / height, place.m_column / width);
        }
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
