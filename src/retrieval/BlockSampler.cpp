// SPDX-License-Identifier: MIT
#include "BlockSampler.h"

#include "GridRows.h"
#include "KnotSpacing.h"
#include "Ramp.h"
#include "Sampler.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <utility>

namespace KxC {

namespace {

std::vector<double> Select(const std::vector<double>& values, const std::vector<int>& at)
{
    std::vector<double> selected;
    selected.reserve(at.size());
    for (const int index : at)
        selected.push_back(values[static_cast<std::size_t>(index)]);
    return selected;
}

/// Places of the knots in one row of them, in source pixels from the range's corner.
struct KnotRow
{
    std::vector<double> m_across;
    std::vector<double> m_up;
};

/// A place that a ramp can hold; false for NaN.
bool IsNear(double pixels)
{
    return std::abs(pixels) < 1e9;
}

class BlockSampler
{
public:
    BlockSampler(KxImageData& output,
                 const SampleAxes& axes,
                 const SourceTiles& tiles,
                 const SourceGrid& grid,
                 const JoinedTiles& joined,
                 const KnotSpacing& spacing)
        : m_output(output), m_axes(axes), m_tiles(tiles), m_grid(grid), m_joined(joined),
          m_error(spacing.m_error), m_columns(KnotsOf(output.GetWidth(), spacing.m_pixels)),
          m_rows(KnotsOf(output.GetHeight(), spacing.m_pixels)),
          m_places(grid, Select(axes.m_xs, m_columns))
    {
    }

    template <int PixelSize>
    void Run()
    {
        KnotRow below = PlacesAt(m_rows[0]);
        for (std::size_t i = 0; i < m_rows.size(); ++i) {
            const bool last = i + 1 == m_rows.size();
            const int end = last ? m_rows[i] + 1 : m_rows[i + 1];
            KnotRow above = last ? below : PlacesAt(end);
            for (int row = m_rows[i]; row < end; ++row)
                SampleRow<PixelSize>(
                    row, below, above, static_cast<double>(row - m_rows[i]) / (end - m_rows[i]));
            below = std::move(above);
        }
    }

private:
    KnotRow PlacesAt(int row)
    {
        m_places.MoveTo(m_axes.m_ys[static_cast<std::size_t>(row)]);
        m_columnTolerance = std::max(m_columnTolerance, m_places.ColumnTolerance());
        m_rowTolerance = std::max(m_rowTolerance, m_places.RowTolerance());
        KnotRow knots;
        for (const double column : m_places.Columns())
            knots.m_across.push_back((column - m_tiles.Range().m_minCol) * m_joined.TileWidth());
        for (const double place : m_places.Rows())
            knots.m_up.push_back((place - m_tiles.Range().m_minRow) * m_joined.TileHeight());
        return knots;
    }

    SureFractions Sure(double tiles, int pixelsPerTile) const
    {
        // Besides what the place may be off by, the rounding of the fixed-point numbers.
        constexpr double kRounding = 5e-8;
        return SureFractions(tiles * pixelsPerTile + kRounding);
    }

    template <int PixelSize>
    void SampleRow(int row, const KnotRow& below, const KnotRow& above, double share)
    {
        const SureFractions sureAcross =
            Sure(m_columnTolerance + m_error.m_col, m_joined.TileWidth());
        const SureFractions sureUp = Sure(m_rowTolerance + m_error.m_row, m_joined.TileHeight());
        const auto mix = [share](const std::vector<double>& a, const std::vector<double>& b) {
            return [&a, &b, share](std::size_t i) { return a[i] + (b[i] - a[i]) * share; };
        };
        const auto across = mix(below.m_across, above.m_across);
        const auto up = mix(below.m_up, above.m_up);
        for (std::size_t i = 0; i < m_columns.size(); ++i) {
            const std::size_t next = std::min(i + 1, m_columns.size() - 1);
            const int count = std::max(m_columns[next] - m_columns[i], 1);
            if (IsNear(across(i)) && IsNear(across(next)) && IsNear(up(i)) && IsNear(up(next)))
                SampleStretch<PixelSize>(row,
                                         m_columns[i],
                                         count,
                                         Ramp::Between(across(i), across(next), count),
                                         Ramp::Between(up(i), up(next), count),
                                         sureAcross,
                                         sureUp);
            else
                for (int column = m_columns[i]; column < m_columns[i] + count; ++column)
                    SampleExactly(row, column);
        }
    }

    template <int PixelSize>
    void SampleStretch(int row,
                       int first,
                       int count,
                       const Ramp& across,
                       const Ramp& up,
                       const SureFractions& sureAcross,
                       const SureFractions& sureUp)
    {
        const PixelRow<const unsigned char> from = RowOf(across, up, count, sureUp);
        if (from.m_bytes == nullptr)
            return SampleEach<PixelSize>(row, first, count, across, up, sureAcross, sureUp);
        // Without its whole part a ramp of about a pixel a step is level: what holds at both ends
        // holds between them.
        const int last = count - 1;
        const bool sideBySide = across.PixelAt(last) - across.PixelAt(0) == last &&
                                sureAcross.Hold(across.At(0)) && sureAcross.Hold(across.At(last));
        if (sideBySide)
            CopyPixels(
                from, {PixelOf(m_output, row, first), PixelSize}, static_cast<std::size_t>(count));
        else if (from.m_pixelSize == 4)
            SampleInRow<4, PixelSize>(from.m_bytes, row, first, count, across, sureAcross);
        else
            SampleInRow<3, PixelSize>(from.m_bytes, row, first, count, across, sureAcross);
    }

    /// The row of one source tile that a whole stretch lies in, from the stretch's first pixel on;
    /// null where there is none. A ramp that is sure of its pixel at both ends is so between them.
    PixelRow<const unsigned char>
    RowOf(const Ramp& across, const Ramp& up, int count, const SureFractions& sureUp) const
    {
        const int last = count - 1;
        const std::int64_t y = up.PixelAt(0);
        const std::int64_t x = across.PixelAt(0);
        const std::int64_t lastX = across.PixelAt(last);
        const bool inside = y >= 0 && y < static_cast<std::int64_t>(m_joined.Height()) && x >= 0 &&
                            lastX >= x && lastX < static_cast<std::int64_t>(m_joined.Width());
        if (!inside || up.PixelAt(last) != y || !sureUp.Hold(up.At(0)) || !sureUp.Hold(up.At(last)))
            return {nullptr, 0};
        return m_joined.RowOf(static_cast<std::size_t>(y),
                              static_cast<std::size_t>(x),
                              static_cast<std::size_t>(lastX));
    }

    template <int FromSize, int PixelSize>
    void SampleInRow(const unsigned char* from,
                     int row,
                     int first,
                     int count,
                     const Ramp& across,
                     const SureFractions& sure)
    {
        unsigned char* to = PixelOf(m_output, row, first);
        const std::int64_t firstPixel = across.PixelAt(0);
        std::int64_t at = across.m_at;
        for (int i = 0; i < count; ++i, to += PixelSize, at += across.m_step)
            if (sure.Hold(at))
                CopyPixel<FromSize, PixelSize>(
                    from + ((at >> kFractionBits) - firstPixel) * FromSize, to);
            else
                SampleExactly(row, first + i);
    }

    template <int PixelSize>
    void SampleEach(int row,
                    int first,
                    int count,
                    Ramp across,
                    Ramp up,
                    const SureFractions& sureAcross,
                    const SureFractions& sureUp)
    {
        const auto width = static_cast<std::int64_t>(m_joined.Width());
        const auto height = static_cast<std::int64_t>(m_joined.Height());
        unsigned char* to = PixelOf(m_output, row, first);
        for (int i = 0; i < count; ++i, to += PixelSize) {
            const std::int64_t x = across.PixelAt(0);
            const std::int64_t y = up.PixelAt(0);
            if (!sureAcross.Hold(across.m_at) || !sureUp.Hold(up.m_at))
                SampleExactly(row, first + i);
            else if (x >= 0 && x < width && y >= 0 && y < height)
                m_joined.CopyTo<PixelSize>(
                    to, static_cast<std::size_t>(y), static_cast<std::size_t>(x));
            across.m_at += across.m_step;
            up.m_at += up.m_step;
        }
    }

    void SampleExactly(int row, int column)
    {
        SamplePixel(m_output,
                    row,
                    column,
                    m_tiles,
                    m_grid(m_axes.m_xs[static_cast<std::size_t>(column)],
                           m_axes.m_ys[static_cast<std::size_t>(row)]));
    }

    KxImageData& m_output;
    const SampleAxes& m_axes;
    const SourceTiles& m_tiles;
    const SourceGrid& m_grid;
    const JoinedTiles& m_joined;
    PlaceError m_error; ///< of interpolation
    std::vector<int> m_columns;
    std::vector<int> m_rows;
    GridRows m_places;
    double m_columnTolerance = 0; ///< of the knots
    double m_rowTolerance = 0;
};

Extent ExtentOf(const SampleAxes& axes)
{
    return {axes.m_xs.front(), axes.m_ys.front(), axes.m_xs.back(), axes.m_ys.back()};
}

double StepOf(const SampleAxes& axes)
{
    return axes.m_xs.size() < 2 ? 0 : axes.m_xs[1] - axes.m_xs[0];
}

} // namespace

bool SampleByBlocks(KxImageData& output,
                    const SampleAxes& axes,
                    const SourceTiles& tiles,
                    const SourceGrid& grid,
                    const JoinedTiles& joined)
{
    if (!IsSmoothOver(grid, ExtentOf(axes)))
        return false;
    const KnotSpacing spacing = ChooseKnotSpacing(
        grid, ExtentOf(axes), StepOf(axes), joined.TileWidth(), joined.TileHeight());
    if (spacing.m_pixels == 1)
        return false;
    BlockSampler sampler(output, axes, tiles, grid, joined, spacing);
    if (output.GetPixelSize() == 4)
        sampler.Run<4>();
    else
        sampler.Run<3>();
    return true;
}

} // namespace KxC
