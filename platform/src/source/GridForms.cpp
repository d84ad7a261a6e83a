// SPDX-License-Identifier: MIT
#include "GridForms.h"

#include "TextRules.h"

#include <cmath>

namespace KxC {

namespace {

/// Half the extent of Web Mercator, pi times 6378137 metres; forms round it to centimetres.
constexpr double kMercatorHalf = 20037508.342789244;
constexpr double kMercatorTolerance = 1.0;
constexpr double kDegreeTolerance = 1e-6;

} // namespace

GridSystem SystemOfName(std::string_view name)
{
    if (IsOneOf(name, "epsg:3857 epsg:900913 epsg:3785 epsg:102100 epsg:102113 esri:102100"))
        return GridSystem::Mercator;
    return IsOneOf(name, "epsg:4326 crs:84 ogc:crs84 wgs84 epsg:4490") ? GridSystem::Geographic
                                                                       : GridSystem::None;
}

bool IsWholeWorld(GridSystem system, double west, double south, double east, double north)
{
    const bool mercator = system == GridSystem::Mercator;
    const double half = mercator ? kMercatorHalf : 180.0;
    const double halfHeight = mercator ? kMercatorHalf : 90.0;
    const double tolerance = mercator ? kMercatorTolerance : kDegreeTolerance;
    return std::abs(west + half) <= tolerance && std::abs(east - half) <= tolerance &&
           std::abs(south + halfHeight) <= tolerance && std::abs(north - halfHeight) <= tolerance;
}

void TakeGrid(
    GridSystem system, int columns, bool fromSouth, Definition& definition, UrlContext& context)
{
    const int firstLevel = static_cast<int>(std::lround(std::log2(columns)));
    context.levelOffset = -firstLevel;
    context.rowsFromSouth = fromSouth;
    context.halfRows = system == GridSystem::Geographic;
    // 14 counts rows from 90 degrees north, as such services do; in its first two levels a tile
    // is higher than the world.
    definition.scheme = context.halfRows ? "14" : "WebMercatorWGS84";
    const int usable = context.halfRows && firstLevel < 2 ? 2 : firstLevel;
    if (usable > 0)
        definition.minLevel = usable;
}

int LevelOfForm(int level, const UrlContext& context)
{
    return level - context.levelOffset;
}

} // namespace KxC
