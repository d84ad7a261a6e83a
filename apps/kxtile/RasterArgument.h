// SPDX-License-Identifier: MIT
#pragma once

#include "KxRasterDataAccessor.h"
#include "KxRasterDescription.h"
#include "jobs/GeoBounds.h"

#include <string>

namespace KxTileHost {

/// What OpenRasterFile tells of a coordinate system that is only assumed.
enum class AssumedCrs {
    Warn, ///< on standard error
    Pass, ///< nothing: the command says it itself
};

/// Opens a raster file through the library's registry, which owns it.
/// @throws CommandError: what is missing, or wrong with the file
KxC::KxRasterDataAccessor& OpenRasterFile(const std::string& path,
                                          AssumedCrs assumed = AssumedCrs::Warn);

/// What the reader tells of the file; as if nothing were known where it tells nothing.
KxC::KxRasterDescription DescriptionOf(const KxC::KxRasterDataAccessor& raster);

/// Where the raster lies; its west exceeds its east where the antimeridian lies inside.
GeoBounds ExtentOf(const KxC::KxRasterDataAccessor& raster);

/// Metres a pixel on the equator of a level's tiles, those of the geographic square grid.
double MetresPerPixel(int level);

/// "1.2 m", "0.00034 degrees": a number with as many digits as people read.
std::string ShortNumber(double number);

} // namespace KxTileHost
