// SPDX-License-Identifier: MIT
#include "Grids.h"

#include <cmath>
#include <numbers>

namespace KxOrigin {

namespace {

// The sphere's radius cancels out of every formula here: the square is measured in its own side.
constexpr double kPi = std::numbers::pi;
constexpr double kDegree = kPi / 180;

} // namespace

double WebMercatorGrid::Longitude(double across) const
{
    return across * 360 - 180;
}

double WebMercatorGrid::Latitude(double down) const
{
    return std::atan(std::sinh(kPi * (1 - 2 * down))) / kDegree;
}

double WebMercatorGrid::Across(double longitude) const
{
    return (longitude + 180) / 360;
}

double WebMercatorGrid::Down(double latitude) const
{
    return (1 - std::asinh(std::tan(latitude * kDegree)) / kPi) / 2;
}

double GeographicGrid::Longitude(double across) const
{
    return across * 360 - 180;
}

double GeographicGrid::Latitude(double down) const
{
    return 180 - down * 360;
}

double GeographicGrid::Across(double longitude) const
{
    return (longitude + 180) / 360;
}

double GeographicGrid::Down(double latitude) const
{
    return (180 - latitude) / 360;
}

const Grid& GridOf(GridKind kind)
{
    static const WebMercatorGrid webMercator;
    static const GeographicGrid geographic;
    if (kind == GridKind::Geographic)
        return geographic;
    return webMercator;
}

std::int64_t SidePixels(int level)
{
    return std::int64_t{kTileEdge} << level;
}

} // namespace KxOrigin
