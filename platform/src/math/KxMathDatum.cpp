// SPDX-License-Identifier: MIT
// The datum shifts of Chinese map services, one position at a time.
#include "DatumFormulas.h"
#include "KxMath.h"

#include <cmath>
#include <limits>

namespace KxC {

namespace {

using Datum::BdShift;
using Datum::Degrees;
using Datum::GcjShift;
using Datum::IsInBox;
using Datum::kDegree;
using Datum::kDegreesPerRadian;

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
    point = Undo(point, [](const Degrees& at) { return BdShift(at); });
    RemoveGcj(point);
}

/// Runs a change of degrees on radians. A coordinate that it leaves alone keeps its bits.
template <typename Change>
void InRadians(Change change, double lon, double lat, double& outLon, double& outLat)
{
    const Degrees before = {lon * kDegreesPerRadian, lat * kDegreesPerRadian};
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
