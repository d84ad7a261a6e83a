// SPDX-License-Identifier: MIT
#include "GridRows.h"

#include "GridConstants.h"
#include "KxMath.h"
#include "KxTileFetcher.h"

#include <cmath>
#include <limits>

namespace KxC {

namespace {

/// What rounding may take from a coordinate of either computation, as a share of the grid's edge.
constexpr double kRounding = 1e-15;

std::vector<double> LongitudesOf(const std::vector<double>& xs)
{
    std::vector<double> longitudes;
    longitudes.reserve(xs.size());
    for (const double x : xs)
        longitudes.push_back(KxMath::WebMecator2LatLon(x, 0).x);
    return longitudes;
}

/// The Mercator height psi = ln tan(lat / 2 + pi / 4) around a latitude as a cubic: its derivatives
/// in the first three powers, and a bound on what the fourth power and all further ones add.
struct HeightSeries
{
    double first;
    double second;
    double third;
    double remainder;

    static HeightSeries Around(double latitude)
    {
        const double secant = 1 / std::cos(latitude);
        const double tangent = std::tan(latitude);
        // The fourth derivative, sec tan (6 sec^2 - 1), grows toward the poles: its largest value
        // is at the far end of the shift. Beyond the pole it has none.
        const double farthest = std::abs(latitude) + KxShiftedRows::kMaxLatShift;
        const double farSecant =
            farthest < kPi / 2 ? 1 / std::cos(farthest) : std::numeric_limits<double>::quiet_NaN();
        const double fourth = farSecant * std::tan(farthest) * (6 * farSecant * farSecant - 1);
        return {secant,
                secant * tangent / 2,
                secant * (2 * secant * secant - 1) / 6,
                fourth / 24 * std::pow(KxShiftedRows::kMaxLatShift, 4)};
    }

    double At(double shift) const { return shift * (first + shift * (second + shift * third)); }
};

} // namespace

GridRows::GridRows(const SourceGrid& grid, const std::vector<double>& xs)
    : m_grid(grid), m_kind(GridOfScheme(grid.m_scheme)), m_longitudes(LongitudesOf(xs)),
      m_shifts(grid.m_datum, m_longitudes), m_columns(xs.size()), m_rows(xs.size()),
      m_planeLongitudes(xs.size()), m_planeLatitudes(xs.size())
{
}

void GridRows::MoveTo(double y)
{
    const double latitude = KxMath::WebMecator2LatLon(0, y).y;
    m_shifts.ShiftsAt(latitude, m_columns.data(), m_rows.data());
    if (m_kind == TileGrid::Baidu)
        ToBaidu(latitude);
    else
        ToWebMercator(latitude);
}

/// Columns are a straight line over longitude, rows the Mercator height over latitude.
void GridRows::ToWebMercator(double latitude)
{
    const double perRadian = 1 / SpanInRadians(m_grid.m_level);
    const double tiles = kTwoPi * perRadian;
    double column = 0;
    double unshiftedRow = 0;
    KxTileFetcher::GetWMColRow(column, unshiftedRow, 0, latitude, m_grid.m_level, KxDatum_WGS84);
    const HeightSeries series = HeightSeries::Around(latitude);
    for (std::size_t i = 0; i < m_columns.size(); ++i) {
        m_columns[i] = (m_longitudes[i] + m_columns[i] + kPi) * perRadian;
        m_rows[i] = unshiftedRow + series.At(m_rows[i]) * perRadian;
    }
    m_columnTolerance = KxShiftedRows::kMaxShiftError * perRadian + kRounding * tiles;
    // Near the poles a rounding of the latitude, and of the tangent's argument, counts for more.
    m_rowTolerance =
        (2 * KxShiftedRows::kMaxShiftError * series.first + series.remainder) * perRadian +
        kRounding * tiles;
}

void GridRows::ToBaidu(double latitude)
{
    for (std::size_t i = 0; i < m_columns.size(); ++i) {
        m_planeLongitudes[i] = (m_longitudes[i] + m_columns[i]) * kDegreesPerRadian;
        m_planeLatitudes[i] = (latitude + m_rows[i]) * kDegreesPerRadian;
    }
    KxShiftedRows::ToBaiduPlane(m_planeLongitudes.data(),
                                m_planeLatitudes.data(),
                                m_columns.size(),
                                m_columns.data(),
                                m_rows.data());
    const double tilesPerUnit = BaiduPixelsPerUnit(m_grid.m_level) * kBaiduTilesPerPixel;
    for (std::size_t i = 0; i < m_columns.size(); ++i) {
        m_columns[i] *= tilesPerUnit;
        m_rows[i] *= tilesPerUnit;
    }
    // The plane is 2^26 units wide, of which a rounding is a hundredth of the plane's own error.
    m_columnTolerance = KxShiftedRows::kMaxPlaneError * tilesPerUnit;
    m_rowTolerance = m_columnTolerance;
}

} // namespace KxC
