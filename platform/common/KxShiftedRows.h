// SPDX-License-Identifier: MIT
#pragma once

#include "KxCommonExport.h"

#include <cstddef>
#include <vector>

namespace KxC {

/// The datum shifts for pictures: rows of positions that share their longitudes, each row on one
/// latitude. What depends on longitude alone is computed once, what depends on latitude alone once
/// a row. The results are KxMath's to within stated errors, so that a picture asks KxMath itself
/// only where that error could matter.
/// Threads: const use of one object may be shared.
class KXCOMMON_API KxShiftedRows
{
public:
    /// Radians (1e-12 degrees): the most by which a position differs from what
    /// KxMath::GetDeviationCoord gives.
    static constexpr double kMaxShiftError = 1.75e-14;
    /// Radians (0.012 degrees): more than any shift moves a position to the north or south.
    static constexpr double kMaxLatShift = 2.1e-4;
    /// Metres: the most by which a place in the Baidu plane differs from what
    /// KxMath::ConvertLL2MC gives, where its position differs by kMaxShiftError.
    static constexpr double kMaxPlaneError = 5e-5;

    /// @param type   KxDatum; another value shifts nothing
    /// @param lons   radians, WGS 84
    KxShiftedRows(int type, const std::vector<double>& lons);

    /// What is to be added to the positions of a row.
    /// @param lat                 radians, WGS 84
    /// @param lonShift, latShift  receive a value for each longitude, radians; NaN for positions
    ///                            that are no numbers
    void ShiftsAt(double lat, double* lonShift, double* latShift) const;

    /// Places of BD-09 positions in the Baidu plane.
    /// @param lons, lats  degrees, `count` of each; close to one latitude this is fast
    /// @param xs, ys      receive the places, metres; minus infinity beyond the plane, and NaN
    /// where
    ///                    the plane breaks off or has a seam too close by to tell the side
    static void
    ToBaiduPlane(const double* lons, const double* lats, std::size_t count, double* xs, double* ys);

private:
    void GcjShiftsAt(double latDegrees, double* lonShift, double* latShift) const;
    void AddBdShifts(double latDegrees, double* lonShift, double* latShift) const;

    int m_type;
    std::vector<double> m_lons;  ///< degrees
    std::vector<double> m_inBox; ///< 1 where GCJ-02 shifts the longitude, else 0
    std::vector<double> m_east;  ///< metres of GCJ-02's shift that depend on longitude
    std::vector<double> m_north;
    std::vector<double> m_cosine; ///< of BD-09's wave at the unshifted longitude
    std::vector<double> m_sine;
};

} // namespace KxC
