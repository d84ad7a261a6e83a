// SPDX-License-Identifier: MIT
#pragma once

#include "Georeference.h"
#include "KxRect2d.h"

namespace KxC {

/// A raster's extent in degrees.
struct EarthBounds
{
    /// Within [-180, 180] and [-90, 90]. One that crosses the antimeridian or holds a pole reaches
    /// round the earth, because a rectangle has one west and one east.
    KxRect2d m_rect;
    /// From the west, in [-180, 180], eastward to the east, in [-180, 180] too. The west exceeds
    /// the east where the raster crosses the antimeridian and leaves out some meridian.
    double m_west = 0;
    double m_east = 0;

    bool CrossesAntimeridian() const { return m_west > m_east; }
};

/// @param bounds  filled on success
/// @return false when no part of the raster lies on the earth
bool FindEarthBounds(const Georeference& georeference, int width, int height, EarthBounds& bounds);

/// Size of a raster's pixel at its middle in degrees, of whichever side is shorter.
/// @return 0 when it cannot be told
double FindPixelDegrees(const Georeference& georeference, int width, int height);

} // namespace KxC
