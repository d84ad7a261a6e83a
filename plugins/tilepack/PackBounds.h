// SPDX-License-Identifier: MIT
#pragma once

#include "KxRect2d.h"

#include <optional>
#include <string_view>

namespace KxC {

/// The whole Web Mercator square in degrees.
KxRect2d WorldBounds();

/// What of `bounds` lies in the Web Mercator square; nothing when they are empty or no numbers.
std::optional<KxRect2d> ClampBounds(const KxRect2d& bounds);

/// "west,south,east,north" in degrees.
std::optional<KxRect2d> ParseBounds(std::string_view text);

/// A block of tiles of one level; rows count from the south.
struct TileBlock
{
    int m_nMinRow;
    int m_nMaxRow;
    int m_nMinCol;
    int m_nMaxCol;
};

/// Degrees. The block lies on the grid.
KxRect2d BoundsOfTiles(int level, const TileBlock& block);

} // namespace KxC
