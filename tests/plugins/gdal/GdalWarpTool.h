// SPDX-License-Identifier: MIT
#pragma once

#include "RasterFixture.h"

#include <string>
#include <vector>

namespace KxC::Test {

/// How a tile compares with what gdalwarp makes of the same grid.
struct Agreement
{
    int m_visible = 0;      ///< pixels that gdalwarp fills
    int m_visibleAlike = 0; ///< pixels that both fill, or both do not
    int m_equal = 0;        ///< pixels that both fill, with the same colour

    double Equal() const { return m_visible > 0 ? static_cast<double>(m_equal) / m_visible : 1; }
};

/// Warps a raster onto a tile with GDAL's own program, nearest pixel, every point transformed.
/// @param overviews  as its option -ovr takes it
Agreement CompareWithGdalwarp(const std::string& raster,
                              const Tile& tile,
                              int level,
                              int row,
                              int col,
                              const std::string& overviews = "NONE");

/// Compares every level's tiles at the raster's middle and at two of its corners.
/// @param visit  gets the agreement and where it was found
void CompareLevels(const std::string& raster,
                   KxRasterDataAccessor& accessor,
                   const std::string& overviews,
                   const std::function<void(const Agreement&, const std::string& where)>& visit);

} // namespace KxC::Test
