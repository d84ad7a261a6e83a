// SPDX-License-Identifier: MIT
#include "ShiftedSampler.h"

#include "BlockSampler.h"
#include "GridRows.h"
#include "JoinedTiles.h"
#include "PixelCopy.h"
#include "Sampler.h"

#include <optional>

namespace KxC {

namespace {

/// One axis of the large picture: from places in tiles to pixels.
struct PixelAxis
{
    double m_firstTile;
    double m_pixelsPerTile;
    double m_length;    ///< pixels
    double m_tolerance; ///< pixels

    double At(double place) const { return (place - m_firstTile) * m_pixelsPerTile; }
    /// Outside whatever the tolerance; false for NaN.
    bool IsOutside(double at) const { return at <= -m_tolerance || at >= m_length + m_tolerance; }
    /// Whether the tolerance leaves only one pixel; false for NaN.
    bool IsSure(double at) const
    {
        if (!(at > m_tolerance && at < m_length))
            return false;
        const double inPixel = at - static_cast<double>(static_cast<int>(at));
        return inPixel > m_tolerance && inPixel < 1 - m_tolerance;
    }
    void SetTolerance(double tiles)
    {
        // Besides what the place may be off by, the rounding of the large picture's own numbers.
        constexpr double kRounding = 1e-9;
        m_tolerance = tiles * m_pixelsPerTile + kRounding;
    }
};

class ShiftedSampler
{
public:
    ShiftedSampler(KxImageData& output,
                   const SampleAxes& axes,
                   const SourceTiles& tiles,
                   const SourceGrid& grid,
                   const JoinedTiles& joined)
        : m_output(output), m_axes(axes), m_tiles(tiles), m_grid(grid), m_joined(joined),
          m_rowsOfPlaces(grid, axes.m_xs), m_x{static_cast<double>(tiles.Range().m_minCol),
                                               static_cast<double>(joined.TileWidth()),
                                               static_cast<double>(joined.Width()),
                                               0},
          m_y{static_cast<double>(tiles.Range().m_minRow),
              static_cast<double>(joined.TileHeight()),
              static_cast<double>(joined.Height()),
              0}
    {
    }

    template <int PixelSize>
    void Run()
    {
        for (int row = 0; row < m_output.GetHeight(); ++row) {
            m_rowsOfPlaces.MoveTo(m_axes.m_ys[static_cast<std::size_t>(row)]);
            m_x.SetTolerance(m_rowsOfPlaces.ColumnTolerance());
            m_y.SetTolerance(m_rowsOfPlaces.RowTolerance());
            SampleRow<PixelSize>(row);
        }
    }

private:
    template <int PixelSize>
    void SampleRow(int row)
    {
        const PixelAxis x = m_x;
        const PixelAxis y = m_y;
        const double* const columns = m_rowsOfPlaces.Columns().data();
        const double* const rows = m_rowsOfPlaces.Rows().data();
        unsigned char* to = PixelOf(m_output, row, 0);
        const int count = m_output.GetWidth();
        for (int column = 0; column < count; ++column, to += PixelSize) {
            const double across = x.At(columns[column]);
            const double up = y.At(rows[column]);
            if (x.IsSure(across) && y.IsSure(up))
                m_joined.CopyTo<PixelSize>(to,
                                           static_cast<std::size_t>(static_cast<int>(up)),
                                           static_cast<std::size_t>(static_cast<int>(across)));
            else if (!x.IsOutside(across) && !y.IsOutside(up))
                SampleExactly(row, column);
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
    GridRows m_rowsOfPlaces;
    PixelAxis m_x;
    PixelAxis m_y;
};

} // namespace

bool SampleShiftedNearest(KxImageData& output,
                          const SampleAxes& axes,
                          const SourceTiles& tiles,
                          const SourceGrid& grid)
{
    const std::optional<JoinedTiles> joined = JoinedTiles::Of(tiles);
    if (!joined)
        return false;
    if (SampleByBlocks(output, axes, tiles, grid, *joined))
        return true;
    ShiftedSampler sampler(output, axes, tiles, grid, *joined);
    if (output.GetPixelSize() == 4)
        sampler.Run<4>();
    else
        sampler.Run<3>();
    return true;
}

} // namespace KxC
