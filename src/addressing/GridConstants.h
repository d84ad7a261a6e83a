// SPDX-License-Identifier: MIT
/// The numbers that the grids are defined by, to the last digit.
#pragma once

#include "TileNumbers.h"

#include <cmath>

namespace KxC {

inline constexpr double kPi = 3.141592653589793;
inline constexpr double kTwoPi = 6.283185307179586;
inline constexpr double kQuarterPi = 0.7853981633974483;
inline constexpr double kDegreesPerRadian = 57.29577951308232;

/// 2 pi x 6378137 and half of it, metres.
inline constexpr double kWorldWidth = 40075016.68557849;
inline constexpr double kHalfWorld = 20037508.342789244;

inline constexpr double kBaiduTilesPerPixel = 0.00390625;

/// Edge of a tile of the square grids, in radians.
inline double SpanInRadians(int level)
{
    return kTwoPi / TilesPerAxis(level);
}

/// Pixels of the Baidu grid for one unit of its plane: one at level 18.
inline double BaiduPixelsPerUnit(int level)
{
    return std::scalbln(1.0, static_cast<long>(level) - 18);
}

} // namespace KxC
