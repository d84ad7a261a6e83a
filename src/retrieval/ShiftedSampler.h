// SPDX-License-Identifier: MIT
#pragma once

#include "SampleTile.h"

namespace KxC {

/// Nearest pixels for Web Mercator grids on a shifted datum and for Baidu's grid: places come from
/// SampleByBlocks or GridRows, and from the grid itself only where their tolerance leaves the pixel
/// open.
/// @return false, with nothing done, where the source pictures are not all of one size
bool SampleShiftedNearest(KxImageData& output,
                          const SampleAxes& axes,
                          const SourceTiles& tiles,
                          const SourceGrid& grid);

} // namespace KxC
