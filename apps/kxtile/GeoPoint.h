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

/// Reads "X,Y", two numbers in any unit.
/// @throws CommandError (wrong usage) for anything else
KxC::KxPoint2d ParsePair(const std::string& text);

/// Reads a place in a coordinate system.
/// @param crs  "EPSG:32650" or another authority's code, a PROJ string, WKT, or the path of a .prj
///             file
/// @throws CommandError: what is wrong with the system, or that the place is not in it
GeoPoint ParsePlaceIn(const std::string& crs, const std::string& text);

/// Adds the option --level, required, [0, 30].
void AddLevelOption(CLI::App& command, int& level);

} // namespace KxTileHost
