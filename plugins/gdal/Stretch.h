// SPDX-License-Identifier: MIT
#pragma once

#include "BandPlan.h"
#include "RasterFile.h"

namespace KxC {

/// Chooses which values of a raster that holds no bytes become 0 and 255: the least and the
/// greatest of its colour bands, as its statistics say, else as a bounded sample of its pixels
/// shows. One range for all of them, so that grey stays grey.
void FindStretch(RasterFile& file, BandPlan& plan);

} // namespace KxC
