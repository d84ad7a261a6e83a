// SPDX-License-Identifier: MIT
#pragma once

#include "BandPlan.h"
#include "KxImageData.h"
#include "PixelMap.h"

#include <memory>

class GDALDataset;

namespace KxC {

/// Reads the pixels that a map names and makes a tile of them. Only within a GdalScope.
/// @param dataset  of the resolution that the map was made for
/// @return 3 bytes a pixel where every one can be seen through nothing, else 4; null where there is
///         nothing to be seen
/// @throws RasterError when the file cannot be read there
std::unique_ptr<KxImageData>
PaintTile(GDALDataset& dataset, const BandPlan& plan, const PixelMap& map);

} // namespace KxC
