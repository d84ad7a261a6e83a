// SPDX-License-Identifier: MIT
#include "KxMath.h"

#include <cmath>
#include <limits>
#include <numbers>

namespace KxC {

namespace {

constexpr double kHalfPi = std::numbers::pi / 2;
constexpr double kQuarterPi = std::numbers::pi / 4;

/// The latitude of the square's south edge, rounded to the inside: ln tan(lat / 2 + pi / 4) of it
/// is not below -pi. The nearest double would lie outside by a rounding, and the southernmost
/// pixels of a tile in no row of tiles.
constexpr double kSouthEdge = -1.484422229745332;
/// What tile arithmetic may be off at the edge, metres: some roundings of numbers of 4e7.
constexpr double kEdgeRounding = 2e-8;

double LatitudeOf(double y)
{
    if (std::abs(y + KxMath::kHalfWorld) <= kEdgeRounding)
        return kSouthEdge;
    return 2 * std::atan(std::exp(y / KxMath::kSphereRadius)) - kHalfPi;
}

/// The west and east edges likewise: half the world over the radius exceeds pi by a rounding.
double LongitudeOf(double x)
{
    if (std::abs(std::abs(x) - KxMath::kHalfWorld) <= kEdgeRounding)
        return std::copysign(std::numbers::pi, x);
    return x / KxMath::kSphereRadius;
}

} // namespace

KxPoint2d KxMath::WebMecator2LatLon(double x, double y)
{
    return {LongitudeOf(x), LatitudeOf(y)};
}

KxPoint2d KxMath::LatLon2WebMecator(double lon, double lat)
{
    // The double nearest to pi / 2 lies below it, so that its tangent is large but finite.
    if (std::abs(lat) >= kHalfPi)
        return {kSphereRadius * lon, std::copysign(std::numeric_limits<double>::infinity(), lat)};
    return {kSphereRadius * lon, kSphereRadius * std::log(std::tan(lat / 2 + kQuarterPi))};
}

} // namespace KxC
