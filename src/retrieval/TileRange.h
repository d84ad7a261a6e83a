// SPDX-License-Identifier: MIT
/// Which tiles of a source lie under an extent.
#pragma once

#include "TileGrid.h"

#include <algorithm>
#include <cmath>

namespace KxC {

/// Rows and columns of tiles, last ones included; rows count from the south.
struct TileRange
{
    int m_minRow;
    int m_minCol;
    int m_maxRow;
    int m_maxCol;

    long long Rows() const { return static_cast<long long>(m_maxRow) - m_minRow + 1; }
    long long Columns() const { return static_cast<long long>(m_maxCol) - m_minCol + 1; }

    bool Holds(int row, int col) const
    {
        return row >= m_minRow && row <= m_maxRow && col >= m_minCol && col <= m_maxCol;
    }
    /// Number of a tile that the range holds, counted row by row from the south-west corner.
    long long PlaceOf(int row, int col) const
    {
        return (static_cast<long long>(row) - m_minRow) * Columns() + (col - m_minCol);
    }

    /// Cuts off what lies beyond the last row and column.
    /// @param tilesPerAxis  of the source's level
    /// @return false when nothing is left
    bool ClampTo(int tilesPerAxis);
};

/// Indices seen along an edge; negative ones lie outside every grid and do not count.
class IndexSpan
{
public:
    void Take(int index)
    {
        if (index < 0)
            return;
        m_min = m_min < 0 ? index : std::min(m_min, index);
        m_max = std::max(m_max, index);
    }
    int Min() const { return m_min; }
    int Max() const { return m_max; }

private:
    int m_min = -1;
    int m_max = -1;
};

/// How a position's fractional coordinate becomes the index of a tile.
enum class IndexRule { Floor, Truncate };

int TileIndex(double coordinate, IndexRule rule);

/// Calls `visit` with from, from + step, ... below `to`. Ends as well where the step is too small
/// to move the position.
template <class Visit>
void WalkEdge(double from, double to, double step, Visit visit)
{
    for (double at = from; at < to;) {
        visit(at);
        const double next = at + step;
        if (!(next > at))
            return;
        at = next;
    }
}

/// The tiles under an extent's four edges, which are sampled in steps of an eighth.
/// The south edge's coordinates are truncated, the other edges' floored: on the south edge a
/// place up to one tile outside the grid still counts as in its first row or column.
/// @param stepX, stepY  between samples of the south and north, the west and east edges
/// @param toGrid        (x, y) -> GridPosition
/// @return rows or columns of -1 to -1 where no sample was inside
template <class ToGrid>
TileRange FindTileRange(const Extent& extent, double stepX, double stepY, const ToGrid& toGrid)
{
    IndexSpan rows;
    IndexSpan columns;
    const auto take = [&](double x, double y, IndexRule rule) {
        const GridPosition position = toGrid(x, y);
        columns.Take(TileIndex(position.m_col, rule));
        rows.Take(TileIndex(position.m_row, rule));
    };
    const auto alongParallel = [&](double y, IndexRule rule) {
        WalkEdge(extent.m_minX, extent.m_maxX, stepX, [&](double x) { take(x, y, rule); });
    };
    const auto alongMeridian = [&](double x) {
        WalkEdge(
            extent.m_minY, extent.m_maxY, stepY, [&](double y) { take(x, y, IndexRule::Floor); });
    };
    alongParallel(extent.m_minY, IndexRule::Truncate);
    alongParallel(extent.m_maxY, IndexRule::Floor);
    alongMeridian(extent.m_minX);
    alongMeridian(extent.m_maxX);
    return {rows.Min(), columns.Min(), rows.Max(), columns.Max()};
}

/// The same for a Web Mercator tile in a source's grid.
TileRange FindTileRange(const WebMercatorTile& tile, const SourceGrid& grid);

} // namespace KxC
