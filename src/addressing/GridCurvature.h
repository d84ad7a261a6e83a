// SPDX-License-Identifier: MIT
#pragma once

#include "TileGrid.h"

namespace KxC {

/// The most by which bilinear interpolation between places in a Web Mercator or Baidu grid is off,
/// in tiles.
struct PlaceError
{
    double m_col;
    double m_row;
};

/// Whether the grid's shift and plane run on smoothly over an extent: no edge of GCJ-02's box, no
/// kink, no seam of the Baidu plane in it or near it.
/// @param extent  Web Mercator metres
bool IsSmoothOver(const SourceGrid& grid, const Extent& extent);

/// The error inside squares of positions, where the grid is smooth.
/// docs/decisions/0006-regridding.md derives the numbers.
/// @param step  edge of a square, metres
PlaceError InterpolationError(const SourceGrid& grid, const Extent& extent, double step);

} // namespace KxC
