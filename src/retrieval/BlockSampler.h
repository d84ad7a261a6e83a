// SPDX-License-Identifier: MIT
#pragma once

#include "JoinedTiles.h"
#include "SampleTile.h"

namespace KxC {

/// Nearest pixels by places that are interpolated between knots of GridRows. The error is bounded
/// by the grid's curvature; the grid itself is asked where the bound leaves the pixel open.
/// @param joined  the tiles
/// @return false, with nothing done, where the grid is not smooth under the output tile, or bends
///         so much that working row by row is quicker
bool SampleByBlocks(KxImageData& output,
                    const SampleAxes& axes,
                    const SourceTiles& tiles,
                    const SourceGrid& grid,
                    const JoinedTiles& joined);

} // namespace KxC
