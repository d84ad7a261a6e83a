// SPDX-License-Identifier: MIT
#pragma once

#include "Georeference.h"
#include "KxRect2d.h"

namespace KxC {

/// A raster's extent in degrees, within [-180, 180] and [-90, 90]. One that crosses the
/// antimeridian or holds a pole reaches round the earth, because a rectangle has one west and one
/// east.
/// @param rect  filled on success
/// @return false when no part of the raster lies on the earth
bool FindEarthBounds(const Georeference& georeference, int width, int height, KxRect2d& rect);

/// Size of a raster's pixel at its middle in degrees, of whichever side is shorter.
/// @return 0 when it cannot be told
double FindPixelDegrees(const Georeference& georeference, int width, int height);

} // namespace KxC
