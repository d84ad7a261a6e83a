// SPDX-License-Identifier: MIT
#include "Grids.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace KxOrigin {

namespace {

// The sphere's radius cancels out of every formula here: the square is measured in its own side.
constexpr double kPi = std::numbers::pi;
constexpr double kDegree = kPi / 180;

/// Plane metres east of the origin, or north of it, for the position across or -down.
double FromOrigin(double position)
{
    return (position - 0.5) * BaiduGrid::kSideMetres;
}

} // namespace

Place Grid::At(double across, double down) const
{
    return {Longitude(across), Latitude(down)};
}

bool Grid::Holds(double longitude, double latitude) const
{
    return std::abs(longitude) <= 180 && std::abs(latitude) <= MaxLatitude();
}

double Grid::PixelsPerDegree(int level) const
{
    return static_cast<double>(SidePixels(level)) * (Across(1) - Across(0));
}

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

double BaiduGrid::Longitude(double across) const
{
    return At(across, 0.5).longitude;
}

double BaiduGrid::Latitude(double down) const
{
    return At(0.5, down).latitude;
}

double BaiduGrid::Across(double longitude) const
{
    double x = 0;
    double y = 0;
    KxC::KxMath::ConvertLL2MC(longitude, 0, x, y);
    return 0.5 + x / kSideMetres;
}

double BaiduGrid::Down(double latitude) const
{
    double x = 0;
    double y = 0;
    KxC::KxMath::ConvertLL2MC(0, std::clamp(latitude, -MaxLatitude(), MaxLatitude()), x, y);
    return 0.5 - y / kSideMetres;
}

/// Beyond the map degrees go on evenly, so that no pixel on its border is widened.
Place BaiduGrid::At(double across, double down) const
{
    constexpr double kMetresPerDegree = 4e5; // northward, about the map's border
    const double x = FromOrigin(across);
    const double y = -FromOrigin(down);
    const double beyond = std::max(std::abs(y) - kHalfHeight, 0.0);
    Place place;
    KxC::KxMath::ConvertMC2LL(std::clamp(x, -kHalfWidth, kHalfWidth),
                              std::clamp(y, -kHalfHeight, kHalfHeight),
                              place.longitude,
                              place.latitude);
    if (std::abs(x) > kHalfWidth)
        place.longitude = x / kHalfWidth * 180;
    place.latitude += std::copysign(beyond / kMetresPerDegree, y);
    return place;
}

const Grid& GridOf(GridKind kind)
{
    static const WebMercatorGrid webMercator(KxC::KxDatum_WGS84);
    static const WebMercatorGrid gcj02(KxC::KxDatum_GCJ02);
    static const WebMercatorGrid bd09(KxC::KxDatum_BD09);
    static const GeographicGrid geographic;
    static const BaiduGrid baidu;
    switch (kind) {
    case GridKind::WebMercatorGcj02:
        return gcj02;
    case GridKind::WebMercatorBd09:
        return bd09;
    case GridKind::Geographic:
        return geographic;
    case GridKind::Baidu:
        return baidu;
    case GridKind::WebMercator:
        break;
    }
    return webMercator;
}

std::int64_t SidePixels(int level)
{
    return std::int64_t{kTileEdge} << level;
}

} // namespace KxOrigin
