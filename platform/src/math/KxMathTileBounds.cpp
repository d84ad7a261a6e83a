// SPDX-License-Identifier: MIT
#include "KxMath.h"

#include <cmath>
#include <numbers>

namespace KxC {

namespace {

/// Bounds in a square from -half to +half cut into `count` tiles a side, rows from the south.
/// Edges are rounded once, so neighbours share theirs to the last bit, north mirrors south, and the
/// outermost are exactly +-half.
KxRect2d SquareTile(double half, double count, double row, double col)
{
    const double unit = half / count;
    const auto edge = [=](double index) { return (2 * index - count) * unit; };
    return {edge(col), edge(row + 1), edge(col + 1), edge(row)};
}

} // namespace

void KxMath::CalcWMTileBounds(KxRect2d& rect, int level, int row, int col, int southToNorth)
{
    const double count = std::ldexp(1.0, level);
    // Turned first, so that a tile has the same bounds whichever way its row is counted.
    const double rowFromSouth = southToNorth != 0 ? row : count - 1 - row;
    rect = SquareTile(kHalfWorld, count, rowFromSouth, col);
}

void KxMath::CalcWMTileLatLonBounds(KxRect2d& rect, int level, int row, int col, int southToNorth)
{
    constexpr double kDegree = std::numbers::pi / 180.0;
    KxRect2d metres;
    CalcWMTileBounds(metres, level, row, col, southToNorth);
    // Columns are the same on both grids, and exact there.
    CalcTileBounds(rect, level, 0, col);
    rect.m_dTop = WebMecator2LatLon(0.0, metres.m_dTop).y / kDegree;
    rect.m_dBottom = WebMecator2LatLon(0.0, metres.m_dBottom).y / kDegree;
}

void KxMath::CalcTileBounds(KxRect2d& rect, int level, int row, int col)
{
    rect = SquareTile(180.0, std::ldexp(1.0, level), row, col);
}

} // namespace KxC
