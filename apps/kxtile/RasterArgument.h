// SPDX-License-Identifier: MIT
#pragma once

#include "KxRasterDataAccessor.h"

#include <string>

namespace KxTileHost {

/// Opens a raster file through the library's registry, which owns it.
/// @throws CommandError: what is missing, or wrong with the file
KxC::KxRasterDataAccessor& OpenRasterFile(const std::string& path);

/// Metres a pixel on the equator of a level's tiles, those of the geographic square grid.
double MetresPerPixel(int level);

/// "1.2 m", "0.00034 degrees": a number with as many digits as people read.
std::string ShortNumber(double number);

} // namespace KxTileHost
