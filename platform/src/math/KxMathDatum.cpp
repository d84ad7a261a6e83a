// SPDX-License-Identifier: MIT
// The datum shifts of Chinese map services; docs/datums.md tells where the formulas come from. They
// run once per pixel: every sine that they need is derived from one sine and cosine per axis.
#include "KxMath.h"

#include <cmath>
#include <limits>
#include <numbers>

namespace KxC {

namespace {

constexpr double kDegree = std::numbers::pi / 180; ///< in radians

/// Longitude and latitude in degrees, or a difference of two such points.
struct Degrees
{
    double lon;
    double lat;
};

Degrees operator+(const Degrees& a, const Degrees& b)
{
    return {a.lon + b.lon, a.lat + b.lat};
}

Degrees operator-(const Degrees& a, const Degrees& b)
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

constexpr double kKrasovskyAxis = 6378245.0; ///< metres
constexpr double kKrasovskyEccentricity2 = 0.00669342162296594323;

constexpr Degrees kOrigin = {105.0, 35.0};
/// Three times the origin, turned back: -315 and -105 degrees.
constexpr double kRoot2 = std::numbers::sqrt2;
constexpr double kRoot6 = kRoot2 * std::numbers::sqrt3;
constexpr Angle kBackByOriginLon = {kRoot2 / 2, kRoot2 / 2};
constexpr Angle kBackByOriginLat = {-(kRoot6 + kRoot2) / 4, (kRoot2 - kRoot6) / 4};

/// sin of pi x / 30, / 12, / 3, / 1 and of 2 pi x, 6 pi x.
struct Waves
{
    double by30, by12, by3, by1, times2, times6;
};

/// @param by60  pi x / 60
Waves WavesOf(const Angle& by60)
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
Metres LongitudeTerms(double x, const Angle& lon)
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
Metres LatitudeTerms(double y, const Angle& lat)
{
    const Waves wave = WavesOf(lat.Thrice().Plus(kBackByOriginLat));
    const double slow = 20 * wave.by1 + 40 * wave.by3 + 160 * wave.by12 + 320 * wave.by30;
    return {3 * y + 0.2 * y * y + slow * (2.0 / 3), 2 * y};
}

/// Metres on the Krasovsky ellipsoid as degrees, at a latitude.
Degrees MetresToDegrees(const Metres& shift, const Angle& lat)
{
    const double w = 1 - kKrasovskyEccentricity2 * lat.sine * lat.sine;
    const double rootW = std::sqrt(w);
    const double meridianRadius = kKrasovskyAxis * (1 - kKrasovskyEccentricity2) / (w * rootW);
    const double parallelRadius = kKrasovskyAxis / rootW * lat.cosine;
    return {shift.east / (kDegree * parallelRadius), shift.north / (kDegree * meridianRadius)};
}

/// What GCJ-02 adds to a point, whether or not the point lies in the box.
Degrees GcjShift(const Degrees& point)
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
bool IsInBox(const Degrees& point)
{
    constexpr double kSlack = 1e-13;
    return point.lon >= 72.004 - kSlack && point.lon <= 137.8347 + kSlack &&
           point.lat >= 0.8293 - kSlack && point.lat <= 55.8271 + kSlack;
}

// --- BD-09's second step ---

/// What BD-09 adds to a GCJ-02 point: it lengthens the vector (lon, lat) a little and turns it by
/// at most 3e-6 radians, where two terms of a series are the sine and cosine to the last digit.
Degrees BdShift(const Degrees& point)
{
    constexpr double kWaveNumber = std::numbers::pi * 3000 / 180;
    const double radius = std::sqrt(point.lon * point.lon + point.lat * point.lat);
    const double longer = 0.00002 * std::sin(point.lat * kWaveNumber);
    const double turn = 0.000003 * std::cos(point.lon * kWaveNumber);
    const double sine = turn - turn * turn * turn / 6;
    const double cosineLess1 = -turn * turn / 2;
    const double stretch = radius > 0 ? longer / radius : 0;
    const Degrees turned = {point.lon * cosineLess1 - point.lat * sine,
                            point.lat * cosineLess1 + point.lon * sine};
    return {turned.lon + stretch * (point.lon + turned.lon) + 0.0065,
            turned.lat + stretch * (point.lat + turned.lat) + 0.006};
}

// --- Both ways ---

/// The point that a shift carries to `shifted`. Each step leaves at most 3 % of the error, on land
/// that the shifts are made for 1 %; the bound on steps is for points far outside.
template <typename Shift>
Degrees Undo(const Degrees& shifted, Shift shiftOf)
{
    constexpr int kMaxSteps = 10;
    constexpr double kSettled = 1e-12;
    Degrees point = shifted;
    for (int step = 0; step < kMaxSteps; ++step) {
        const Degrees next = shifted - shiftOf(point);
        const Degrees moved = next - point;
        point = next;
        if (std::abs(moved.lon) < kSettled && std::abs(moved.lat) < kSettled)
            break;
    }
    return point;
}

/// All three act on the point in place, and leave what they do not shift as it was to the last bit.
void AddGcj(Degrees& point)
{
    if (IsInBox(point))
        point = point + GcjShift(point);
}

/// The box is tested on the shifted point, and not again: the way in and the way out disagree by
/// the shift along the edges, and asking again after every step would never settle there.
void RemoveGcj(Degrees& point)
{
    if (IsInBox(point))
        point = Undo(point, GcjShift);
}

void AddBd(Degrees& point)
{
    AddGcj(point);
    point = point + BdShift(point);
}

void RemoveBd(Degrees& point)
{
    point = Undo(point, BdShift);
    RemoveGcj(point);
}

/// Runs a change of degrees on radians. A coordinate that it leaves alone keeps its bits.
template <typename Change>
void InRadians(Change change, double lon, double lat, double& outLon, double& outLat)
{
    const Degrees before = {lon / kDegree, lat / kDegree};
    if (!std::isfinite(before.lon) || !std::isfinite(before.lat)) {
        outLon = outLat = std::numeric_limits<double>::quiet_NaN();
        return;
    }
    Degrees after = before;
    change(after);
    const Degrees moved = after - before;
    outLon = lon + moved.lon * kDegree;
    outLat = lat + moved.lat * kDegree;
}

} // namespace

void KxMath::GetDeviationCoord(int type, double lon, double lat, double& outLon, double& outLat)
{
    if (type == KxDatum_GCJ02)
        return InRadians(AddGcj, lon, lat, outLon, outLat);
    if (type == KxDatum_BD09)
        return InRadians(AddBd, lon, lat, outLon, outLat);
    outLon = lon;
    outLat = lat;
}

void KxMath::RemoveDeviationCoord(int type, double lon, double lat, double& outLon, double& outLat)
{
    if (type == KxDatum_GCJ02)
        return InRadians(RemoveGcj, lon, lat, outLon, outLat);
    if (type == KxDatum_BD09)
        return InRadians(RemoveBd, lon, lat, outLon, outLat);
    outLon = lon;
    outLat = lat;
}

} // namespace KxC
