// SPDX-License-Identifier: MIT
#pragma once

#include "TileAddress.h"

namespace KxC {

/// The grids that sources cut their tiles from.
enum class TileGrid {
    WebMercator, ///< the spherical Mercator square, n tiles per axis from its south-west corner
    Baidu,       ///< the Baidu plane from its origin, 256 units a tile at level 18
    Geographic,  ///< -180 to 180 degrees on both axes, n tiles per axis from the south-west corner
};

/// The grid of a source's tiles.
/// @param scheme  KxTSDParamItem::m_nTileScheme; any number
TileGrid GridOfScheme(int scheme);

/// Fractional tile coordinates: the whole part is the tile, the fraction the position inside it.
/// Columns grow to the east, rows to the north.
struct GridPosition
{
    double m_col;
    double m_row;
};

/// A source's grid at one level, for positions in Web Mercator metres.
struct SourceGrid
{
    int m_scheme;
    int m_datum;
    int m_level;

    GridPosition operator()(double x, double y) const;
};

/// Where positions are asked for, in units of its own plane.
struct Extent
{
    double m_minX;
    double m_minY;
    double m_maxX;
    double m_maxY;
};

/// Edge of a Web Mercator tile in metres.
/// @param level  [0, 30]
double TileSpan(int level);

/// Extent of a Web Mercator tile in metres; tiles outside the grid have one too.
Extent ExtentOf(const WebMercatorTile& tile);

/// The level from which an output tile is sampled: raised where it has more pixels than a source
/// tile, to the nearest power of two; never lowered. It may lie beyond kMaxLevel.
/// @param level                     [0, 30]
/// @param tileSize, sourceTileSize  [1, kMaxTileSize]
int SourceLevel(int level, int tileSize, int sourceTileSize);

} // namespace KxC
