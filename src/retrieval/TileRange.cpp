// SPDX-License-Identifier: MIT
#include "TileRange.h"

#include "TileNumbers.h"

namespace KxC {

bool TileRange::ClampTo(int tilesPerAxis)
{
    m_maxRow = std::min(m_maxRow, tilesPerAxis - 1);
    m_maxCol = std::min(m_maxCol, tilesPerAxis - 1);
    return m_minRow < tilesPerAxis && m_minCol < tilesPerAxis && m_maxRow >= 0 && m_maxCol >= 0;
}

int TileIndex(double coordinate, IndexRule rule)
{
    return TruncateToInt(rule == IndexRule::Floor ? std::floor(coordinate) : coordinate);
}

TileRange FindTileRange(const WebMercatorTile& tile, const SourceGrid& grid)
{
    const double step = TileSpan(tile.m_level) * 0.125;
    return FindTileRange(ExtentOf(tile), step, step, grid);
}

} // namespace KxC
