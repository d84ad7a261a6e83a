// SPDX-License-Identifier: MIT
// The loops over pixels here are plain enough for the compiler to do several at a time.
#include "KxShiftedRows.h"

#include "BaiduTables.h"
#include "DatumFormulas.h"
#include "KxMath.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace KxC {

namespace {

using namespace Datum;

/// Angles of BD-09's wave that a shift can add: 0.0115 degrees times kWaveNumber. Up to here the
/// series below are right to 1e-10, of a wave that is 4e-4 degrees high.
struct SmallAngle
{
    double sine;
    double cosine;

    static SmallAngle Of(double a)
    {
        const double q = a * a;
        return {
            a * (1 + q * (-1.0 / 6 + q * (1.0 / 120 + q * (-1.0 / 5040 + q * (1.0 / 362880))))),
            1 + q * (-1.0 / 2 +
                     q * (1.0 / 24 + q * (-1.0 / 720 + q * (1.0 / 40320 + q * (-1.0 / 3628800)))))};
    }
};

/// The part of the GCJ-02 shift that belongs to a row.
struct RowTerms
{
    double y;
    Metres metres;
    Degrees perMetre;

    static RowTerms Of(double latDegrees)
    {
        const Angle lat = Angle::Of(latDegrees * kDegree);
        const double y = latDegrees - kOrigin.lat;
        return {y, LatitudeTerms(y, lat), MetresToDegrees({1, 1}, lat)};
    }
};

// --- Baidu plane ---

/// Degrees around a seam of the plane within which the side is not told: 1 cm.
constexpr double kSeam = 1e-7;

bool IsOnSeam(double lon, double lat)
{
    const double absLon = std::abs(lon);
    const double absLat = std::abs(lat);
    // A position must not lie nearer to a seam than its own error, of which longitudes far outside
    // have more: what is wrapped is not told either.
    if (!(absLon > kSeam) || !(absLon < 180 - kSeam) || !(absLat > kSeam) ||
        std::abs(absLat - KxMath::kMaxPlaneLatitude) < kSeam)
        return true;
    return std::any_of(std::begin(kBaiduLatitudes), std::end(kBaiduLatitudes), [&](double limit) {
        return std::abs(absLat - limit) < kSeam;
    });
}

void ToPlaneOneByOne(
    const double* lons, const double* lats, std::size_t count, double* xs, double* ys)
{
    for (std::size_t i = 0; i < count; ++i) {
        xs[i] = ys[i] = std::numeric_limits<double>::quiet_NaN();
        if (IsOnSeam(lons[i], lats[i]))
            continue;
        if (KxMath::ConvertLL2MC(lons[i], lats[i], xs[i], ys[i]) == 0)
            xs[i] = ys[i] = -std::numeric_limits<double>::infinity();
    }
}

struct Interval
{
    double low;
    double high;
};

/// NaN where one of the values is no finite number.
Interval IntervalOf(const double* values, std::size_t count)
{
    Interval interval = {std::numeric_limits<double>::infinity(),
                         -std::numeric_limits<double>::infinity()};
    double zero = 0;
    for (std::size_t i = 0; i < count; ++i) {
        interval.low = values[i] < interval.low ? values[i] : interval.low;
        interval.high = values[i] > interval.high ? values[i] : interval.high;
        zero += values[i] * 0;
    }
    return {interval.low + zero, interval.high + zero};
}

/// The one band that holds all of an interval of latitudes, away from its seams; null without one.
const BaiduBand* BandOf(const Interval& lats)
{
    const double low = lats.low > 0 ? lats.low : -lats.high;
    const double high = lats.low > 0 ? lats.high : -lats.low;
    if (!(low > kSeam) || !(high < KxMath::kMaxPlaneLatitude - kSeam))
        return nullptr;
    const int band = BandAt(kBaiduLatitudes, low);
    const bool apart =
        low > kBaiduLatitudes[band] + kSeam && high < kBaiduLatitudes[band - 1] - kSeam;
    return apart ? &kBaiduToPlane[band] : nullptr;
}

bool IsPlain(const Interval& lons)
{
    return lons.low > -180 + kSeam && lons.high < 180 - kSeam &&
           (lons.low > kSeam || lons.high < -kSeam);
}

} // namespace

KxShiftedRows::KxShiftedRows(int type, const std::vector<double>& lons) : m_type(type)
{
    for (const double lon : lons) {
        const double degrees = lon * kDegreesPerRadian;
        const double x = degrees - kOrigin.lon;
        const Metres metres = LongitudeTerms(x, Angle::Of(degrees * kDegree));
        m_lons.push_back(degrees);
        m_inBox.push_back(IsInBox({degrees, kOrigin.lat}) ? 1 : 0);
        m_east.push_back(metres.east);
        m_north.push_back(metres.north);
        m_cosine.push_back(std::cos(degrees * kWaveNumber));
        m_sine.push_back(std::sin(degrees * kWaveNumber));
    }
}

void KxShiftedRows::ShiftsAt(double lat, double* lonShift, double* latShift) const
{
    std::fill_n(lonShift, m_lons.size(), 0.0);
    std::fill_n(latShift, m_lons.size(), 0.0);
    if (m_type != KxDatum_GCJ02 && m_type != KxDatum_BD09)
        return;
    const double degrees = lat * kDegreesPerRadian;
    if (IsInBox({kOrigin.lon, degrees}))
        GcjShiftsAt(degrees, lonShift, latShift);
    if (m_type == KxDatum_BD09)
        AddBdShifts(degrees, lonShift, latShift);
    for (std::size_t i = 0; i < m_lons.size(); ++i) {
        lonShift[i] *= kDegree;
        latShift[i] *= kDegree;
    }
}

void KxShiftedRows::GcjShiftsAt(double latDegrees,
                                double* __restrict lonShift,
                                double* __restrict latShift) const
{
    const RowTerms row = RowTerms::Of(latDegrees);
    for (std::size_t i = 0; i < m_lons.size(); ++i) {
        const double product = 0.1 * (m_lons[i] - kOrigin.lon) * row.y;
        lonShift[i] = (m_east[i] + row.metres.east + product) * row.perMetre.lon * m_inBox[i];
        latShift[i] = (m_north[i] + row.metres.north + product) * row.perMetre.lat * m_inBox[i];
    }
}

void KxShiftedRows::AddBdShifts(double latDegrees,
                                double* __restrict lonShift,
                                double* __restrict latShift) const
{
    const double rowSine = std::sin(latDegrees * kWaveNumber);
    const double rowCosine = std::cos(latDegrees * kWaveNumber);
    for (std::size_t i = 0; i < m_lons.size(); ++i) {
        const SmallAngle lon = SmallAngle::Of(lonShift[i] * kWaveNumber);
        const SmallAngle lat = SmallAngle::Of(latShift[i] * kWaveNumber);
        const Degrees shift = BdShift({m_lons[i] + lonShift[i], latDegrees + latShift[i]},
                                      m_cosine[i] * lon.cosine - m_sine[i] * lon.sine,
                                      rowSine * lat.cosine + rowCosine * lat.sine);
        lonShift[i] += shift.lon;
        latShift[i] += shift.lat;
    }
}

void KxShiftedRows::ToBaiduPlane(const double* __restrict lons,
                                 const double* __restrict lats,
                                 std::size_t count,
                                 double* __restrict xs,
                                 double* __restrict ys)
{
    const BaiduBand* band = BandOf(IntervalOf(lats, count));
    if (band == nullptr || !IsPlain(IntervalOf(lons, count)))
        return ToPlaneOneByOne(lons, lats, count, xs, ys);
    const BaiduBand table = *band;
    for (std::size_t i = 0; i < count; ++i) {
        xs[i] = std::copysign(table.offset + table.slope * std::abs(lons[i]), lons[i]);
        ys[i] = std::copysign(Height(table, std::abs(lats[i])), lats[i]);
    }
}

} // namespace KxC
