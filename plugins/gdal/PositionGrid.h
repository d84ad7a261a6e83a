// SPDX-License-Identifier: MIT
#pragma once

#include "PixelMap.h"

#include <array>
#include <cmath>
#include <cstddef>

namespace KxC {

/// A position as a polynomial of second order in the steps from a row's first pixel.
struct RowCurve
{
    double m_start, m_slope, m_bend;

    /// Through values at the first step, in the middle, and at the last one.
    RowCurve(double first, double middle, double last, double steps)
        : m_start(first), m_slope((4 * middle - 3 * first - last) / steps),
          m_bend(2 * (first - 2 * middle + last) / (steps * steps))
    {
    }

    double At(double step) const { return m_start + step * (m_slope + step * m_bend); }
};

/// Finds where the pixel centres of a tile lie on a raster. Surfaces of second order are laid
/// through nine points of a square; where four others lie on them, the square is filled from them,
/// else it is quartered, and the smallest are transformed point by point. So a seam of the
/// projection, where positions jump, costs what it touches.
template <typename Take>
class PositionGrid
{
public:
    /// @param tolerance  pixels of the full raster that the four may be off
    PositionGrid(const Georeference& georeference,
                 const TileCentres& centres,
                 double tolerance,
                 Take take)
        : m_georeference(georeference), m_centres(centres), m_tolerance(tolerance), m_take(take)
    {
    }

    void Run() { Fill({0, 0, kTileSide - 1, kTileSide - 1}); }

private:
    static constexpr int kSmallest = 8; ///< steps from a square's first pixel to its last
    static constexpr std::size_t kControls = 9;
    static constexpr std::size_t kTests = 4;

    /// Rows and columns from first to last, both included.
    struct Square
    {
        int m_south, m_west, m_north, m_east;

        double Up() const { return m_north - m_south; }
        double Right() const { return m_east - m_west; }
    };
    /// Three rows of three, from the south-west; then the four in the middles of their quarters.
    using Points = std::array<KxPoint3d, kControls + kTests>;

    Points PointsOf(const Square& square) const
    {
        Points points;
        std::size_t i = 0;
        const auto add = [&](double up, double right) {
            points[i++] = m_centres.At(square.m_south + up * square.Up(),
                                       square.m_west + right * square.Right());
        };
        for (const double up : {0.0, 0.5, 1.0})
            for (const double right : {0.0, 0.5, 1.0})
                add(up, right);
        for (const double up : {0.25, 0.75})
            for (const double right : {0.25, 0.75})
                add(up, right);
        m_georeference.ToPixels(points.data(), static_cast<int>(points.size()));
        return points;
    }

    /// The curve along a row of the square, of one coordinate.
    static RowCurve
    CurveAt(const Points& points, double KxPoint3d::*axis, double up, double upSteps, double steps)
    {
        const auto control = [&](std::size_t i) {
            return RowCurve(points[i].*axis, points[i + 3].*axis, points[i + 6].*axis, upSteps)
                .At(up);
        };
        return {control(0), control(1), control(2), steps};
    }

    void Fill(const Square& square)
    {
        if (square.Right() <= kSmallest)
            return FillExactly(square);
        const Points points = PointsOf(square);
        if (IsEven(points))
            FillFrom(points, square);
        else
            FillQuarters(square);
    }

    bool IsEven(const Points& points) const
    {
        std::size_t test = kControls;
        for (const double up : {0.25, 0.75})
            for (const double right : {0.25, 0.75}) {
                const double x = CurveAt(points, &KxPoint3d::x, up, 1, 1).At(right);
                const double y = CurveAt(points, &KxPoint3d::y, up, 1, 1).At(right);
                if (!(std::abs(points[test].x - x) <= m_tolerance && // also for NaN
                      std::abs(points[test].y - y) <= m_tolerance))
                    return false;
                ++test;
            }
        return true;
    }

    void FillQuarters(const Square& s)
    {
        const int row = (s.m_south + s.m_north) / 2;
        const int column = (s.m_west + s.m_east) / 2;
        Fill({s.m_south, s.m_west, row, column});
        Fill({s.m_south, column + 1, row, s.m_east});
        Fill({row + 1, s.m_west, s.m_north, column});
        Fill({row + 1, column + 1, s.m_north, s.m_east});
    }

    void FillFrom(const Points& points, const Square& square)
    {
        for (int row = square.m_south; row <= square.m_north; ++row) {
            const double up = row - square.m_south;
            const RowCurve x = CurveAt(points, &KxPoint3d::x, up, square.Up(), square.Right());
            const RowCurve y = CurveAt(points, &KxPoint3d::y, up, square.Up(), square.Right());
            for (int i = 0; i <= square.m_east - square.m_west; ++i)
                m_take(row, square.m_west + i, x.At(i), y.At(i));
        }
    }

    void FillExactly(const Square& square)
    {
        std::array<KxPoint3d, kSmallest + 1> places;
        const int count = square.m_east - square.m_west + 1;
        for (int row = square.m_south; row <= square.m_north; ++row) {
            for (int i = 0; i < count; ++i)
                places[static_cast<std::size_t>(i)] = m_centres.At(row, square.m_west + i);
            m_georeference.ToPixels(places.data(), count);
            for (int i = 0; i < count; ++i) {
                const KxPoint3d& place = places[static_cast<std::size_t>(i)];
                m_take(row, square.m_west + i, place.x, place.y);
            }
        }
    }

    const Georeference& m_georeference;
    const TileCentres& m_centres;
    double m_tolerance;
    Take m_take;
};

/// Hands row, column and position of every pixel centre to `take`.
template <typename Take>
void FillPositions(const Georeference& georeference,
                   const TileCentres& centres,
                   double tolerance,
                   Take take)
{
    PositionGrid<Take>(georeference, centres, tolerance, take).Run();
}

} // namespace KxC
