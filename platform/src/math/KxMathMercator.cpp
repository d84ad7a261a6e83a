// SPDX-License-Identifier: MIT
#include "KxMath.h"

#include <cmath>
#include <limits>
#include <numbers>

namespace KxC {

namespace {

constexpr double kHalfPi = std::numbers::pi / 2;
constexpr double kQuarterPi = std::numbers::pi / 4;

} // namespace

KxPoint2d KxMath::WebMecator2LatLon(double x, double y)
{
    return {x / kSphereRadius, 2 * std::atan(std::exp(y / kSphereRadius)) - kHalfPi};
}

KxPoint2d KxMath::LatLon2WebMecator(double lon, double lat)
{
    // The double nearest to pi / 2 lies below it, so that its tangent is large but finite.
    if (std::abs(lat) >= kHalfPi)
        return {kSphereRadius * lon, std::copysign(std::numeric_limits<double>::infinity(), lat)};
    return {kSphereRadius * lon, kSphereRadius * std::log(std::tan(lat / 2 + kQuarterPi))};
}

} // namespace KxC
