// SPDX-License-Identifier: MIT
#include "GridCurvature.h"

#include "GridConstants.h"
#include "KxMath.h"

#include <algorithm>
#include <cmath>

namespace KxC {

namespace {

/// Degrees; more than any shift moves a position.
constexpr double kMargin = 0.02;

/// Degrees, both ends included.
struct Interval
{
    double m_low;
    double m_high;

    bool Holds(double value) const { return value >= m_low && value <= m_high; }
    double Farthest() const { return std::max(std::abs(m_low), std::abs(m_high)); }
};

Interval Longitudes(const Extent& extent)
{
    return {KxMath::WebMecator2LatLon(extent.m_minX, 0).x * kDegreesPerRadian - kMargin,
            KxMath::WebMecator2LatLon(extent.m_maxX, 0).x * kDegreesPerRadian + kMargin};
}

Interval Latitudes(const Extent& extent)
{
    return {KxMath::WebMecator2LatLon(0, extent.m_minY).y * kDegreesPerRadian - kMargin,
            KxMath::WebMecator2LatLon(0, extent.m_maxY).y * kDegreesPerRadian + kMargin};
}

bool IsShifted(const SourceGrid& grid)
{
    return grid.m_datum == KxDatum_GCJ02 || grid.m_datum == KxDatum_BD09;
}

/// GCJ-02: the box's edges, and the root of the distance from 105 degrees.
bool HasShiftBreak(const Interval& lons, const Interval& lats)
{
    return lons.Holds(72.004) || lons.Holds(105) || lons.Holds(137.8347) || lats.Holds(0.8293) ||
           lats.Holds(55.8271);
}

/// BD-09 lengthens a vector from (0, 0), around which its direction turns quickly.
bool IsNearOrigin(const Interval& lons, const Interval& lats)
{
    return lons.m_low < 1 && lons.m_high > -1 && lats.m_low < 1 && lats.m_high > -1;
}

bool HasPlaneSeam(const Interval& lons, const Interval& lats)
{
    if (lons.Holds(0) || lons.Farthest() >= 180 || lats.Farthest() >= KxMath::kMaxPlaneLatitude)
        return true;
    return std::ranges::any_of(std::initializer_list<double>{0, 15, 30, 45, 60},
                               [&](double seam) { return lats.Holds(seam) || lats.Holds(-seam); });
}

/// Bounds on second derivatives, degrees per square degree, along parallels (xx) and along
/// meridians in steps of the Mercator height (yy).
struct Curvature
{
    double m_lonXx;
    double m_lonYy;
    double m_latXx;
    double m_latYy;
};

Curvature CurvatureOf(int datum)
{
    switch (datum) {
    case KxDatum_GCJ02:
        return {0.095, 0.01, 0.055, 0.01};
    case KxDatum_BD09:
        return {0.85, 0.08, 1.62, 0.08};
    default:
        return {0, 0, 0, 0};
    }
}

} // namespace

bool IsSmoothOver(const SourceGrid& grid, const Extent& extent)
{
    constexpr double kMercatorEnd = 85.1;
    const Interval lons = Longitudes(extent);
    const Interval lats = Latitudes(extent);
    if (!(lats.Farthest() < kMercatorEnd) || !(lons.Farthest() < 180 + 1))
        return false;
    if (IsShifted(grid) && HasShiftBreak(lons, lats))
        return false;
    if (grid.m_datum == KxDatum_BD09 && IsNearOrigin(lons, lats))
        return false;
    return GridOfScheme(grid.m_scheme) != TileGrid::Baidu || !HasPlaneSeam(lons, lats);
}

PlaceError InterpolationError(const SourceGrid& grid, const Extent& extent, double step)
{
    // What rounding does to positions that are added up, metres.
    constexpr double kPositionError = 1e-7;
    // Rows bend a little even where nothing is shifted: Baidu's plane is an ellipsoid's.
    constexpr double kRowBend = 0.003;
    const Curvature curvature = CurvatureOf(grid.m_datum);
    const double degrees = step / KxMath::kSphereRadius * kDegreesPerRadian;
    const double square = degrees * degrees / 8;
    const double secant = 1.05 / std::cos(Latitudes(extent).Farthest() / kDegreesPerRadian);
    // Baidu's tiles are larger than a world cut into 2^level: its columns count for less here.
    const double tilesPerDegree = TilesPerAxis(grid.m_level) / 360.0;
    const double moved = kPositionError / kWorldWidth * TilesPerAxis(grid.m_level);
    return {square * (curvature.m_lonXx + curvature.m_lonYy) * tilesPerDegree + moved,
            square * (secant * (curvature.m_latXx + curvature.m_latYy) + kRowBend) *
                    tilesPerDegree +
                moved};
}

} // namespace KxC
