// SPDX-License-Identifier: MIT
#include "KnotSpacing.h"

#include "KxMath.h"

namespace KxC {

namespace {

// Nanoseconds, measured; only their proportions matter, and only to speed.

constexpr double kExactPixel = 350; ///< a place by GetColRow, and its pixel
constexpr double kMixedPixel = 2;   ///< an interpolated place, and its pixel

/// A place by GridRows.
double PlaceCost(int datum)
{
    switch (datum) {
    case KxDatum_GCJ02:
        return 9;
    case KxDatum_BD09:
        return 21;
    default:
        return 8;
    }
}

} // namespace

KnotSpacing ChooseKnotSpacing(
    const SourceGrid& grid, const Extent& extent, double step, int tileWidth, int tileHeight)
{
    const double place = PlaceCost(grid.m_datum);
    KnotSpacing best{1, {0, 0}};
    double bestCost = kMixedPixel + place;
    for (const int pixels : {4, 8, 16, 32}) {
        const PlaceError error = InterpolationError(grid, extent, pixels * step);
        const double open = 2 * (error.m_col * tileWidth + error.m_row * tileHeight);
        const double cost = kMixedPixel + place / (pixels * pixels) + open * kExactPixel;
        if (cost < bestCost) {
            best = {pixels, error};
            bestCost = cost;
        }
    }
    return best;
}

std::vector<int> KnotsOf(int count, int pixels)
{
    std::vector<int> knots;
    for (int at = 0; at < count - 2; at += pixels)
        knots.push_back(at);
    if (count > 1)
        knots.push_back(count - 2);
    knots.push_back(count - 1);
    return knots;
}

} // namespace KxC
