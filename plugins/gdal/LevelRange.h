// SPDX-License-Identifier: MIT
#pragma once

#include "KxRect2d.h"

namespace KxC {

/// Side of a tile, pixels.
inline constexpr int kTileSide = 256;
/// Deepest level that tiles are addressed on.
inline constexpr int kDeepestLevel = 30;

/// Levels of the geographic square grid on which a raster is offered.
struct LevelRange
{
    int m_min = 0;
    int m_max = 0;
};

/// From the deepest level on which one tile holds the whole raster, to the first whose pixel is not
/// coarser than the raster's.
/// @param bounds        the raster's extent, degrees
/// @param pixelDegrees  > 0
LevelRange FindLevels(const KxRect2d& bounds, double pixelDegrees);

} // namespace KxC
