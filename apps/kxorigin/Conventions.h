// SPDX-License-Identifier: MIT
#pragma once

#include "Grids.h"

#include <cstdint>
#include <optional>
#include <string_view>

namespace KxOrigin {

/// The three numbers of an address, as they stand in it. Each may be anything that a caller wrote;
/// values beyond +-kFarOutside are brought there, so that arithmetic on them never overflows.
struct TileNumbers
{
    static constexpr std::int64_t kFarOutside = std::int64_t{1} << 40;

    std::int64_t level = 0;
    std::int64_t column = 0;
    std::int64_t row = 0;
};

/// Each rule turns the numbers of an address into the window that they name; nothing when there is
/// no such tile: a level outside [0, kMaxLevel], a column or row outside the level.

/// Rows count from the grid's north edge.
std::optional<PixelWindow> WindowFromNorth(const TileNumbers& numbers);

/// Rows count from the grid's south edge.
std::optional<PixelWindow> WindowFromSouth(const TileNumbers& numbers);

/// The geographic grid with rows counted from 90° N: level z has 2^z columns and 2^(z-1) rows, so
/// row = 3/4 x 2^z - 1 - the row from the grid's south edge. Level 0 has no tile, and the one row
/// of level 1 lies across the middle of two of the grid's.
std::optional<PixelWindow> WindowFromPole(const TileNumbers& numbers);

/// Tiles of twice the edge: level z has 2^z columns and rows of them, counted from the north, and
/// the pixels of level z + 1.
std::optional<PixelWindow> WindowOfDoubleEdge(const TileNumbers& numbers);

/// Tiles of the Baidu grid: columns count east and rows north from the plane's origin, where tile
/// 0, 0 has its south-west corner; both are negative on the other sides.
/// @return nothing as well for tiles that hold nothing of the map
std::optional<PixelWindow> WindowFromOrigin(const TileNumbers& numbers);

/// The level in the address is the tile's level + `offset`.
std::optional<PixelWindow> WindowWithLevelOffset(const TileNumbers& numbers, std::int64_t offset);

/// One digit for each level, the coarsest first: bit 0 for east, bit 1 for south.
/// @return nothing for another character; the numbers otherwise, row from the north. An empty or
///         overlong key names a level without a tile.
std::optional<TileNumbers> ReadQuadKey(std::string_view key);

/// @param order  a permutation of "xyz"
/// @return nothing for another text
std::optional<TileNumbers>
ReadAxes(std::string_view order, std::int64_t first, std::int64_t second, std::int64_t third);

} // namespace KxOrigin
