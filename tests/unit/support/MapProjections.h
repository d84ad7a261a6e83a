// SPDX-License-Identifier: MIT
/// Inverse map projections of the sphere of radius 6378137 m, by their textbook formulas (Snyder,
/// "Map Projections - A Working Manual", 1987).
#pragma once

#include "KxPoint.h"

#include <cmath>
#include <functional>
#include <numbers>

namespace KxC::Testing {

/// From metres to longitude and latitude, degrees; false where there is no such place.
using ToWgs84 = std::function<bool(const KxPoint3d&, KxPoint3d&)>;

inline constexpr double kSphere = 6378137.0;
inline constexpr double kRadian = std::numbers::pi / 180;
inline constexpr double kMetresPerDegree = kSphere * kRadian;

inline double Wrapped(double degrees)
{
    return degrees - 360 * std::floor((degrees + 180) / 360);
}

inline bool PlateCarree(const KxPoint3d& in, KxPoint3d& out)
{
    out = {in.x / kMetresPerDegree, in.y / kMetresPerDegree, in.z};
    return true;
}

/// Formulas 8-6 and 8-7.
inline ToWgs84 TransverseMercator(double centralMeridian)
{
    return [centralMeridian](const KxPoint3d& in, KxPoint3d& out) {
        const double d = in.y / kSphere;
        const double x = in.x / kSphere;
        out = {Wrapped(centralMeridian + std::atan2(std::sinh(x), std::cos(d)) / kRadian),
               std::asin(std::sin(d) / std::cosh(x)) / kRadian,
               in.z};
        return true;
    };
}

/// Formulas 15-1 to 15-11 with two standard parallels, from the equator.
inline ToWgs84 LambertConic(double parallel1, double parallel2, double centralMeridian)
{
    const auto tangent = [](double degrees) {
        return std::tan(std::numbers::pi / 4 + degrees * kRadian / 2);
    };
    const double n = std::log(std::cos(parallel1 * kRadian) / std::cos(parallel2 * kRadian)) /
                     std::log(tangent(parallel2) / tangent(parallel1));
    const double f = std::cos(parallel1 * kRadian) * std::pow(tangent(parallel1), n) / n;
    return [=](const KxPoint3d& in, KxPoint3d& out) {
        const double rho0 = kSphere * f;
        const double rho = std::hypot(in.x, rho0 - in.y);
        const double theta = std::atan2(in.x, rho0 - in.y);
        out = {Wrapped(centralMeridian + theta / n / kRadian),
               2 * std::atan(std::pow(kSphere * f / rho, 1 / n)) / kRadian - 90,
               in.z};
        return true;
    };
}

/// Formulas 20-14 to 20-18, north.
inline ToWgs84 PolarStereographic(double centralMeridian)
{
    return [centralMeridian](const KxPoint3d& in, KxPoint3d& out) {
        const double c = 2 * std::atan(std::hypot(in.x, in.y) / (2 * kSphere));
        out = {
            Wrapped(centralMeridian + std::atan2(in.x, -in.y) / kRadian), 90 - c / kRadian, in.z};
        return true;
    };
}

/// Formulas 20-14, 20-15 and 20-19.
inline ToWgs84 Orthographic(double longitude, double latitude)
{
    return [=](const KxPoint3d& in, KxPoint3d& out) {
        const double rho = std::hypot(in.x, in.y);
        if (rho > kSphere)
            return false;
        const double c = std::asin(rho / kSphere);
        const double sine = std::sin(latitude * kRadian);
        const double cosine = std::cos(latitude * kRadian);
        const double lat = rho == 0
                               ? latitude * kRadian
                               : std::asin(std::cos(c) * sine + in.y * std::sin(c) * cosine / rho);
        const double lon =
            std::atan2(in.x * std::sin(c), rho * cosine * std::cos(c) - in.y * sine * std::sin(c));
        out = {Wrapped(longitude + lon / kRadian), lat / kRadian, in.z};
        return true;
    };
}

} // namespace KxC::Testing
