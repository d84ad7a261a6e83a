// SPDX-License-Identifier: MIT
/// Sampling where a place's column depends on x alone and its row on y alone: the grid is asked
/// once for each output column and once for each output row.
#pragma once

#include "SampleTile.h"

namespace KxC {

/// Nearest pixels, copied in runs.
void SampleSeparableNearest(KxImageData& output,
                            const SampleAxes& axes,
                            const SourceTiles& tiles,
                            const SourceGrid& grid);

/// By whatever rule KxImageData::GetValue2 follows.
void SampleSeparable(KxImageData& output,
                     const SampleAxes& axes,
                     const SourceTiles& tiles,
                     const SourceGrid& grid);

} // namespace KxC
