// SPDX-License-Identifier: MIT
// What the datum shifts of Chinese map services add to a position; docs/datums.md tells where the
// formulas come from. They run once per pixel or column: every sine that they need is derived from
// one sine and cosine per axis.
#pragma once

#include <cmath>
#include <numbers>

namespace KxC::Datum {

inline constexpr double kDegree = std::numbers::pi / 180; ///< in radians
inline constexpr double kDegreesPerRadian = 180 / std::numbers::pi;

/// Longitude and latitude in degrees, or a difference of two such points.
struct Degrees
{
    double lon;
    double lat;
};

inline Degrees operator+(const Degrees& a, const Degrees& b)
{
    return {a.lon + b.lon, a.lat + b.lat};
}

inline Degrees operator-(const Degrees& a, const Degrees& b)
{
    return {a.lon - b.lon, a.lat - b.lat};
}

/// An angle by its sine and cosine. Multiples lose a few units in the last place, which is
/// nanometres here.
struct Angle
{
    double sine;
    double cosine;

    static Angle Of(double radians) { return {std::sin(radians), std::cos(radians)}; }

    Angle Plus(const Angle& other) const
    {
        return {sine * other.cosine + cosine * other.sine,
                cosine * other.cosine - sine * other.sine};
    }
    Angle Twice() const { return {2 * sine * cosine, cosine * cosine - sine * sine}; }
    Angle Thrice() const
    {
        return {sine * (3 - 4 * sine * sine), cosine * (4 * cosine * cosine - 3)};
    }
};

// --- GCJ-02 ---

inline constexpr double kKrasovskyAxis = 6378245.0; ///< metres
inline constexpr double kKrasovskyEccentricity2 = 0.00669342162296594323;

inline constexpr Degrees kOrigin = {105.0, 35.0};
/// Three times the origin, turned back: -315 and -105 degrees.
inline constexpr double kRoot2 = std::numbers::sqrt2;
inline constexpr double kRoot6 = kRoot2 * std::numbers::sqrt3;
inline constexpr Angle kBackByOriginLon = {kRoot2 / 2, kRoot2 / 2};
inline constexpr Angle kBackByOriginLat = {-(kRoot6 + kRoot2) / 4, (kRoot2 - kRoot6) / 4};

/// sin of pi x / 30, / 12, / 3, / 1 and of 2 pi x, 6 pi x.
struct Waves
{
    double by30, by12, by3, by1, times2, times6;
};

/// @param by60  pi x / 60
inline Waves WavesOf(const Angle& by60)
{
    const Angle by30 = by60.Twice();
    const Angle by12 = by30.Twice().Plus(by60);
    const Angle by3 = by12.Twice().Twice();
    const Angle by1 = by3.Thrice();
    const Angle times2 = by1.Twice();
    return {by30.sine, by12.sine, by3.sine, by1.sine, times2.sine, times2.Thrice().sine};
}

/// Northward and eastward metres.
struct Metres
{
    double north;
    double east;
};

/// The terms of the shift that depend on longitude alone.
/// @param x  degrees east of the origin
inline Metres LongitudeTerms(double x, const Angle& lon)
{
    // x degrees / 60 half turns are 3 (lon - 105) degrees.
    const Waves wave = WavesOf(lon.Thrice().Plus(kBackByOriginLon));
    const double root = 0.1 * std::sqrt(std::abs(x));
    const double quick = 20 * wave.times6 + 20 * wave.times2;
    const double slow = 20 * wave.by1 + 40 * wave.by3 + 150 * wave.by12 + 300 * wave.by30;
    return {-100 + 2 * x + 2 * root + quick * (2.0 / 3),
            300 + x + 0.1 * x * x + root + (quick + slow) * (2.0 / 3)};
}

/// The terms that depend on latitude alone.
/// @param y  degrees north of the origin
inline Metres LatitudeTerms(double y, const Angle& lat)
{
    const Waves wave = WavesOf(lat.Thrice().Plus(kBackByOriginLat));
    const double slow = 20 * wave.by1 + 40 * wave.by3 + 160 * wave.by12 + 320 * wave.by30;
    return {3 * y + 0.2 * y * y + slow * (2.0 / 3), 2 * y};
}

/// Metres on the Krasovsky ellipsoid as degrees, at a latitude: by the radius of the meridian,
/// a (1 - e2) / w^1.5, and that of the parallel, a cos(lat) / w^0.5.
inline Degrees MetresToDegrees(const Metres& shift, const Angle& lat)
{
    constexpr double kPerMetre = kDegreesPerRadian / kKrasovskyAxis;
    constexpr double kPerMetreNorth = kPerMetre / (1 - kKrasovskyEccentricity2);
    const double w = 1 - kKrasovskyEccentricity2 * lat.sine * lat.sine;
    const double rootW = std::sqrt(w);
    return {shift.east * rootW * kPerMetre / lat.cosine, shift.north * w * rootW * kPerMetreNorth};
}

/// What GCJ-02 adds to a point, whether or not the point lies in the box.
inline Degrees GcjShift(const Degrees& point)
{
    const Angle lon = Angle::Of(point.lon * kDegree);
    const Angle lat = Angle::Of(point.lat * kDegree);
    const Degrees from = point - kOrigin;
    const Metres byLon = LongitudeTerms(from.lon, lon);
    const Metres byLat = LatitudeTerms(from.lat, lat);
    const double product = 0.1 * from.lon * from.lat;
    return MetresToDegrees({byLon.north + byLat.north + product, byLon.east + byLat.east + product},
                           lat);
}

/// Both ends belong to the box. The slack is what degrees lose on their way through radians.
inline bool IsInBox(const Degrees& point)
{
    constexpr double kSlack = 1e-13;
    return point.lon >= 72.004 - kSlack && point.lon <= 137.8347 + kSlack &&
           point.lat >= 0.8293 - kSlack && point.lat <= 55.8271 + kSlack;
}

// --- BD-09's second step ---

inline constexpr double kWaveNumber = std::numbers::pi * 3000 / 180; ///< radians per degree

/// What BD-09 adds to a GCJ-02 point: it lengthens the vector (lon, lat) a little and turns it by
/// at most 3e-6 radians, where two terms of a series are the sine and cosine to the last digit.
/// @param lonCosine, latSine  of the point's coordinates times kWaveNumber
inline Degrees BdShift(const Degrees& point, double lonCosine, double latSine)
{
    const double radius = std::sqrt(point.lon * point.lon + point.lat * point.lat);
    const double longer = 0.00002 * latSine;
    const double turn = 0.000003 * lonCosine;
    const double sine = turn - turn * turn * turn / 6;
    const double cosineLess1 = -turn * turn / 2;
    const double stretch = radius > 0 ? longer / radius : 0;
    const Degrees turned = {point.lon * cosineLess1 - point.lat * sine,
                            point.lat * cosineLess1 + point.lon * sine};
    return {turned.lon + stretch * (point.lon + turned.lon) + 0.0065,
            turned.lat + stretch * (point.lat + turned.lat) + 0.006};
}

inline Degrees BdShift(const Degrees& point)
{
    return BdShift(point, std::cos(point.lon * kWaveNumber), std::sin(point.lat * kWaveNumber));
}

} // namespace KxC::Datum
