// SPDX-License-Identifier: MIT
// The plane that Baidu's tiles lie in; docs/datums.md tells of its tables and their faults.
#include "BaiduTables.h"
#include "KxMath.h"

#include <algorithm>
#include <cmath>

namespace KxC {

namespace {

/// Half the edge of the plane's square, metres, and what rounding may add at 180 degrees.
constexpr double kHalfPlane = 20037726.37;
constexpr double kSlack = 0.01;

constexpr double Derivative(const double (&terms)[7], double t)
{
    double sum = 6 * terms[6];
    for (int i = 5; i >= 1; --i)
        sum = sum * t + i * terms[i];
    return sum;
}

/// The height between a band of kBaiduToPlane and the one below it, metres. At their common limit
/// the upper one lies 1 cm to 15 m higher; nearer than the middle, rounding could cross over.
constexpr double FloorOf(int band)
{
    const double limit = kBaiduLatitudes[band];
    return (Height(kBaiduToPlane[band], limit) + Height(kBaiduToPlane[band + 1], limit)) / 2;
}

constexpr double kBandFloors[kBaiduBandCount] = {
    kBaiduHeights[0], FloorOf(1), FloorOf(2), FloorOf(3), FloorOf(4), 0.0};

double WithSign(double magnitude, double sign)
{
    return sign < 0 ? -magnitude : magnitude;
}

/// Into [-180, 180]; both ends stay.
double WrapLongitude(double lon)
{
    if (std::abs(lon) <= 180)
        return lon;
    const double wrapped = std::remainder(lon, 360.0);
    return std::abs(wrapped) == 180 ? std::copysign(180.0, lon) : wrapped;
}

/// Undoes x = sign(lon) (offset + slope |lon|). A negative offset gives the x next to 0 two
/// longitudes, of which the eastern one is taken; a positive one leaves x that no longitude has,
/// which are taken as longitude 0.
double LongitudeOf(const BaiduBand& band, double x)
{
    if (x >= std::min(band.offset, 0.0))
        return std::max((x - band.offset) / band.slope, 0.0);
    return std::min((x + band.offset) / band.slope, 0.0);
}

/// Undoes Height of one band for a height above 0. The table of the other direction is right to
/// 6e-5 degrees: two of Newton's steps leave nothing of that.
double LatitudeOf(int band, double height)
{
    const BaiduBand& back = kBaiduToDegrees[band];
    const double near = Polynomial(back.terms, height / back.scale);
    if (band == 0)
        return near;
    const BaiduBand& plane = kBaiduToPlane[band];
    double t = near / plane.scale;
    for (int step = 0; step < 2; ++step)
        t -= (Polynomial(plane.terms, t) - height) / Derivative(plane.terms, t);
    // Heights between two bands belong to no latitude: they go to the border between them.
    return std::clamp(t * plane.scale, kBaiduLatitudes[band], kBaiduLatitudes[band - 1]);
}

} // namespace

unsigned char KxMath::ConvertLL2MC(double lon, double lat, double& x, double& y)
{
    if (!std::isfinite(lon) || !(std::abs(lat) <= kMaxPlaneLatitude))
        return 0;
    const double wrapped = WrapLongitude(lon);
    const BaiduBand& band = kBaiduToPlane[BandAt(kBaiduLatitudes, std::abs(lat))];
    x = WithSign(band.offset + band.slope * std::abs(wrapped), wrapped);
    y = WithSign(Height(band, std::abs(lat)), lat);
    return 1;
}

unsigned char KxMath::ConvertMC2LL(double x, double y, double& lon, double& lat)
{
    if (!(std::abs(x) <= kHalfPlane + kSlack) || !(std::abs(y) <= kHalfPlane))
        return 0;
    const int band = BandAt(kBandFloors, std::abs(y));
    // Longitudes run alike in all bands, but in the first the forward table is not to be used.
    const double outLon = LongitudeOf(kBaiduToPlane[std::max(band, 1)], x);
    lat = WithSign(LatitudeOf(band, std::abs(y)), y);
    lon = outLon;
    return 1;
}

} // namespace KxC
