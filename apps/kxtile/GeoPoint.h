// SPDX-License-Identifier: MIT
#pragma once

#include "KxPoint.h"

#include <string>

namespace CLI {
class App;
}

namespace KxTileHost {

/// A place on the earth, WGS 84, degrees.
struct GeoPoint
{
    double m_lon = 0.0;
    double m_lat = 0.0;

    /// Its position on the Web Mercator plane, metres.
    KxC::KxPoint2d ToWebMercator() const;
};

/// Reads "LON,LAT" in degrees.
/// @throws CommandError (wrong usage) for anything else, and for places that the earth has not
GeoPoint ParseGeoPoint(const std::string& text);

/// Adds the option --level, required, [0, 30].
void AddLevelOption(CLI::App& command, int& level);

} // namespace KxTileHost
