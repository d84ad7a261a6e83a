// SPDX-License-Identifier: MIT
/// Which outputs are knots, between whose places the others' are interpolated.
#pragma once

#include "GridCurvature.h"

#include <vector>

namespace KxC {

/// A square grid of knots over an output tile.
struct KnotSpacing
{
    int m_pixels;       ///< between knots; 1 where it is cheaper to have none
    PlaceError m_error; ///< of interpolation between them, tiles
};

/// The cheapest distance between knots: closer ones cost more places, farther ones leave more
/// pixels open, for which the grid itself is asked.
/// @param extent                  over which the grid is smooth
/// @param step                    between outputs, metres
/// @param tileWidth, tileHeight   of source tiles, pixels
KnotSpacing ChooseKnotSpacing(
    const SourceGrid& grid, const Extent& extent, double step, int tileWidth, int tileHeight);

/// The knots of an axis of `count` outputs. The last output does not keep the distance of the
/// others, so it is a knot, and the one before it.
std::vector<int> KnotsOf(int count, int pixels);

} // namespace KxC
