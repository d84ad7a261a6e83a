// SPDX-License-Identifier: MIT
#include "GridCurvature.h"

#include "KxMath.h"
#include "KxTileFetcher.h"
#include "SweepRandom.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace KxC {
namespace {

using Testing::SweepRandom;

constexpr double kDegree = std::numbers::pi / 180;
constexpr double kRadius = 6378137.0;

GridPosition PlaceAt(const SourceGrid& grid, double x, double y)
{
    GridPosition at{};
    KxTileFetcher::GetColRow(at.m_col, at.m_row, grid.m_scheme, x, y, grid.m_level, grid.m_datum);
    return at;
}

GridPosition Mix(const GridPosition& a, const GridPosition& b, double share)
{
    return {a.m_col + (b.m_col - a.m_col) * share, a.m_row + (b.m_row - a.m_row) * share};
}

/// How far the place inside a square is off when it is interpolated between the corners' places.
PlaceError ErrorInside(const SourceGrid& grid, const Extent& square, double shareX, double shareY)
{
    const GridPosition south = Mix(PlaceAt(grid, square.m_minX, square.m_minY),
                                   PlaceAt(grid, square.m_maxX, square.m_minY),
                                   shareX);
    const GridPosition north = Mix(PlaceAt(grid, square.m_minX, square.m_maxY),
                                   PlaceAt(grid, square.m_maxX, square.m_maxY),
                                   shareX);
    const GridPosition mixed = Mix(south, north, shareY);
    const GridPosition exact = PlaceAt(grid,
                                       std::lerp(square.m_minX, square.m_maxX, shareX),
                                       std::lerp(square.m_minY, square.m_maxY, shareY));
    return {std::abs(mixed.m_col - exact.m_col), std::abs(mixed.m_row - exact.m_row)};
}

/// A square with edges of 200 m to 50 km: where the places bend by more than their numbers round.
/// @return the length of its edges, metres
double NextSquare(SweepRandom& random, Extent& square)
{
    const bool inChina = random.Index(2) == 0;
    const double lon = inChina ? random.Between(73, 136) : random.Between(-179, 179);
    const double lat = inChina ? random.Between(1, 55.5) : random.Between(-84.5, 84.5);
    const double edge = 200 * std::exp2(random.Between(0, 8));
    const double x = lon * kDegree * kRadius;
    const double y = std::asinh(std::tan(lat * kDegree)) * kRadius;
    square = {x, y, x + edge, y + edge};
    return edge;
}

/// The middle, where a parabola is off most, or anywhere.
double NextShare(SweepRandom& random)
{
    return random.Index(2) == 0 ? 0.5 : random.Between(0, 1);
}

/// The largest errors inside many squares, as shares of the bounds on them. A place that is off by
/// more than its bound, be it by a constant that is too small or by a break that was not seen, is
/// a failure.
PlaceError ExpectWithinBounds(SweepRandom& random, int scheme, int datum)
{
    PlaceError largest{0, 0};
    for (int i = 0; i < 20000; ++i) {
        const SourceGrid grid{scheme, datum, static_cast<int>(random.Index(23))};
        Extent square{};
        const double edge = NextSquare(random, square);
        if (!IsSmoothOver(grid, square))
            continue;
        const double shareX = NextShare(random);
        const PlaceError error = ErrorInside(grid, square, shareX, NextShare(random));
        const PlaceError bound = InterpolationError(grid, square, edge);
        largest.m_col = std::max(largest.m_col, error.m_col / bound.m_col);
        largest.m_row = std::max(largest.m_row, error.m_row / bound.m_row);
    }
    EXPECT_LE(largest.m_col, 1) << scheme << " " << datum << " " << random.Text();
    EXPECT_LE(largest.m_row, 1) << scheme << " " << datum << " " << random.Text();
    return largest;
}

/// The squares come near enough to the bounds to notice constants that are a third too small.
TEST(InterpolationError, BoundsPlacesInShiftedWebMercatorGrids)
{
    SweepRandom random;
    for (const int datum : {KxDatum_GCJ02, KxDatum_BD09}) {
        const PlaceError largest = ExpectWithinBounds(random, 10, datum);
        EXPECT_GT(largest.m_col, 0.6) << datum << " " << random.Text();
        EXPECT_GT(largest.m_row, 0.6) << datum << " " << random.Text();
    }
}

TEST(InterpolationError, BoundsPlacesInTheBaiduGrid)
{
    SweepRandom random;
    for (const int datum : {KxDatum_WGS84, KxDatum_GCJ02, KxDatum_BD09})
        ExpectWithinBounds(random, 4, datum);
}

TEST(InterpolationError, IsRoundingAloneInWebMercatorWithoutShift)
{
    SweepRandom random;
    ExpectWithinBounds(random, 10, KxDatum_WGS84);
}

} // namespace
} // namespace KxC
