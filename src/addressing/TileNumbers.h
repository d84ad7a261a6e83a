// SPDX-License-Identifier: MIT
/// Levels, tile counts and tile indices. All three come from outside unchecked.
#pragma once

#include <limits>

namespace KxC {

/// Levels of every grid are [0, kMaxLevel].
inline constexpr int kMaxLevel = 30;
/// Edges of tiles are [1, kMaxTileSize] pixels.
inline constexpr int kMaxTileSize = 8192;

inline bool IsTileLevel(int level)
{
    return level >= 0 && level <= kMaxLevel;
}

inline bool IsTileSize(int pixels)
{
    return pixels >= 1 && pixels <= kMaxTileSize;
}

/// Tiles per axis; the level counts modulo 32.
inline int TilesPerAxis(int level)
{
    return static_cast<int>(1U << (static_cast<unsigned>(level) & 31U));
}

/// Truncates toward zero; what does not fit, and what is no number, becomes the smallest number.
inline int TruncateToInt(double value)
{
    const bool fits = value > -2147483649.0 && value < 2147483648.0;
    return fits ? static_cast<int>(value) : std::numeric_limits<int>::min();
}

} // namespace KxC
