// SPDX-License-Identifier: MIT
#pragma once

#include "Georeference.h"
#include "LevelRange.h"

#include <cstddef>
#include <vector>

namespace KxC {

/// The pixel centres of a tile: longitude and latitude of the south-west one, and the step to the
/// next in both directions. Rows count from the south.
struct TileCentres
{
    double m_west;
    double m_south;
    double m_step;

    KxPoint3d At(double row, double column) const
    {
        return {m_west + column * m_step, m_south + row * m_step, 0};
    }
};

TileCentres CentresOf(int level, int row, int column);

/// One of a raster's resolutions.
struct RasterSize
{
    int m_width;
    int m_height;
};

/// Pixels of the raster for a step between pixels of the tile: the larger side of the finer parts.
/// @return 1 where none of the tile's pixels can be placed
double FindReduction(const Georeference& georeference, const TileCentres& centres);

/// A part of a raster.
struct RasterWindow
{
    int m_left;
    int m_top;
    int m_width;
    int m_height;

    double Pixels() const { return static_cast<double>(m_width) * m_height; }
};

/// Which pixel of a raster each pixel of a tile takes: the one that holds its centre.
struct PixelMap
{
    static constexpr int kOutside = -1;

    /// A pixel of the chosen resolution.
    struct Place
    {
        int m_column;
        int m_row;

        bool IsOutside() const { return m_column == kOutside || m_row == kOutside; }
    };
    Place At(int row, int column) const
    {
        const std::size_t i =
            m_isEven ? static_cast<std::size_t>(column)
                     : static_cast<std::size_t>(row) * kTileSide + static_cast<std::size_t>(column);
        return {m_columns[i], m_rows[m_isEven ? static_cast<std::size_t>(row) : i]};
    }

    /// The raster's column depends on the tile's column alone, and its row on the tile's row.
    bool m_isEven = false;
    /// Columns and rows of the raster for each pixel of the tile, row by row from the south; of an
    /// even map, columns for each column and rows for each row. kOutside where there is none.
    std::vector<int> m_columns;
    std::vector<int> m_rows;
    RasterWindow m_window = {}; ///< the least that holds them all
    bool m_isEmpty = true;      ///< no pixel of the tile lies on the raster
    bool m_isFull = true;       ///< all do
};

/// @param full    the raster's full resolution
/// @param chosen  the resolution that is read
PixelMap MakePixelMap(const Georeference& georeference,
                      const TileCentres& centres,
                      const RasterSize& full,
                      const RasterSize& chosen);

} // namespace KxC
