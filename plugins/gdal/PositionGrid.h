// SPDX-License-Identifier: MIT
#pragma once

#include "PixelMap.h"

#include <array>
#include <cmath>

namespace KxC {

/// Finds where the pixel centres of a tile lie on a raster. A square whose middle and edges lie
/// where its corners let expect it is filled between the corners; any other is quartered, and the
/// smallest are transformed point by point. So a seam of the projection, where positions jump,
/// costs what it touches.
template <typename Take>
class PositionGrid
{
public:
    /// @param tolerance  pixels of the full raster that a position may be off
    PositionGrid(const Georeference& georeference,
                 const TileCentres& centres,
                 double tolerance,
                 Take take)
        : m_georeference(georeference), m_centres(centres), m_tolerance(tolerance), m_take(take)
    {
    }

    void Run()
    {
        constexpr int kLast = kTileSide - 1;
        std::array<KxPoint3d, 4> corners = {m_centres.At(0, 0),
                                            m_centres.At(0, kLast),
                                            m_centres.At(kLast, 0),
                                            m_centres.At(kLast, kLast)};
        m_georeference.ToPixels(corners.data(), 4);
        Fill({0, 0, kLast, kLast, corners[0], corners[1], corners[2], corners[3]});
    }

private:
    static constexpr int kSmallest = 8; ///< pixels from a square's first to its last

    /// Rows and columns from first to last, both included, and where its corners lie.
    struct Square
    {
        int m_south, m_west, m_north, m_east;
        KxPoint3d m_southWest, m_southEast, m_northWest, m_northEast;
    };

    static KxPoint3d Between(const KxPoint3d& from, const KxPoint3d& to, double share)
    {
        return {from.x + (to.x - from.x) * share, from.y + (to.y - from.y) * share, 0};
    }
    bool IsNear(const KxPoint3d& place, const KxPoint3d& expected) const
    {
        return std::abs(place.x - expected.x) <= m_tolerance && // false for NaN
               std::abs(place.y - expected.y) <= m_tolerance;
    }

    void Fill(const Square& square)
    {
        if (square.m_east - square.m_west <= kSmallest)
            return FillExactly(square);
        const int row = (square.m_south + square.m_north) / 2;
        const int column = (square.m_west + square.m_east) / 2;
        std::array<KxPoint3d, 5> places = {m_centres.At(square.m_south, column),
                                           m_centres.At(row, square.m_west),
                                           m_centres.At(row, column),
                                           m_centres.At(row, square.m_east),
                                           m_centres.At(square.m_north, column)};
        m_georeference.ToPixels(places.data(), 5);
        if (IsEven(square, places))
            FillBetween(square);
        else
            FillQuarters(square, places);
    }

    bool IsEven(const Square& square, const std::array<KxPoint3d, 5>& places) const
    {
        // The middle of whole numbers may lie half a pixel beside that of the square.
        const double up =
            Share((square.m_south + square.m_north) / 2, square.m_south, square.m_north);
        const double right =
            Share((square.m_west + square.m_east) / 2, square.m_west, square.m_east);
        const KxPoint3d west = Between(square.m_southWest, square.m_northWest, up);
        const KxPoint3d east = Between(square.m_southEast, square.m_northEast, up);
        return IsNear(places[0], Between(square.m_southWest, square.m_southEast, right)) &&
               IsNear(places[1], west) && IsNear(places[2], Between(west, east, right)) &&
               IsNear(places[3], east) &&
               IsNear(places[4], Between(square.m_northWest, square.m_northEast, right));
    }

    static double Share(int at, int first, int last)
    {
        return static_cast<double>(at - first) / (last - first);
    }

    void FillQuarters(const Square& s, const std::array<KxPoint3d, 5>& places)
    {
        const auto& [south, west, middle, east, north] = places;
        const int row = (s.m_south + s.m_north) / 2;
        const int column = (s.m_west + s.m_east) / 2;
        // Neighbours share a row or column of pixels, whose position is known.
        Fill({s.m_south, s.m_west, row, column, s.m_southWest, south, west, middle});
        Fill({s.m_south, column, row, s.m_east, south, s.m_southEast, middle, east});
        Fill({row, s.m_west, s.m_north, column, west, middle, s.m_northWest, north});
        Fill({row, column, s.m_north, s.m_east, middle, east, north, s.m_northEast});
    }

    void FillBetween(const Square& square)
    {
        const double rowShare = 1.0 / (square.m_north - square.m_south);
        const double columnShare = 1.0 / (square.m_east - square.m_west);
        for (int row = square.m_south; row <= square.m_north; ++row) {
            const double up = (row - square.m_south) * rowShare;
            const KxPoint3d west = Between(square.m_southWest, square.m_northWest, up);
            const KxPoint3d east = Between(square.m_southEast, square.m_northEast, up);
            const double stepX = (east.x - west.x) * columnShare;
            const double stepY = (east.y - west.y) * columnShare;
            for (int i = 0; i <= square.m_east - square.m_west; ++i)
                m_take(row, square.m_west + i, west.x + i * stepX, west.y + i * stepY);
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

/// Hands row, column and position of every pixel centre to `take`, some more than once.
template <typename Take>
void FillPositions(const Georeference& georeference,
                   const TileCentres& centres,
                   double tolerance,
                   Take take)
{
    PositionGrid<Take>(georeference, centres, tolerance, take).Run();
}

} // namespace KxC
