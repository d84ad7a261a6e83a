// SPDX-License-Identifier: MIT
#pragma once

#include "Georeference.h"
#include "LevelRange.h"

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

/// Which pixel of a raster each pixel of a tile takes: the one that holds its centre.
struct PixelMap
{
    static constexpr int kOutside = -1;

    /// Pixels of the chosen resolution; kOutside in both where there is none. Row by row from the
    /// south.
    std::vector<int> m_columns;
    std::vector<int> m_rows;
    bool m_isEmpty = true; ///< no pixel of the tile lies on the raster
    bool m_isFull = true;  ///< all do
};

/// @param full    the raster's full resolution
/// @param chosen  the resolution that is read
PixelMap MakePixelMap(const Georeference& georeference,
                      const TileCentres& centres,
                      const RasterSize& full,
                      const RasterSize& chosen);

} // namespace KxC
