// SPDX-License-Identifier: MIT
#include "SourceGrid.h"

#include "KxTileFetcher.h"

#include <algorithm>
#include <cmath>

namespace KxTileHost {

namespace {

constexpr int kMaxLevel = 30;

/// Brings what lies on an edge, or beside it by a rounding, into the first or last tile.
/// @return false for what lies beyond
bool Settle(double& coordinate, double count)
{
    constexpr double slack = 1e-9; // tiles
    if (!(coordinate > -slack && coordinate < count + slack))
        return false;
    coordinate = std::clamp(coordinate, 0.0, std::nextafter(count, 0.0));
    return true;
}

/// The Baidu grid has columns and rows of either sign; the others begin at 0.
bool Settle(GridKind grid, GridPosition& position, int level)
{
    if (grid == GridKind::Baidu) // the library says -1, -1 of places that the plane has not
        return std::isfinite(position.m_column) && std::isfinite(position.m_row) &&
               (position.m_column != -1.0 || position.m_row != -1.0);
    const double count = std::exp2(level);
    return Settle(position.m_column, count) && Settle(position.m_row, count);
}

} // namespace

GridKind GridOf(int scheme)
{
    switch (scheme) {
    case 3:
    case 6:
    case 10:
        return GridKind::WebMercator;
    case 4:
    case 13:
        return GridKind::Baidu;
    default:
        return GridKind::Geographic;
    }
}

const char* NameOf(GridKind grid)
{
    switch (grid) {
    case GridKind::WebMercator:
        return "Web Mercator";
    case GridKind::Baidu:
        return "Baidu";
    case GridKind::Geographic:
        break;
    }
    return "geographic";
}

const char* NameOfDatum(int datum)
{
    switch (datum) {
    case 1:
        return "GCJ-02";
    case 2:
        return "BD-09";
    default:
        return "WGS 84";
    }
}

bool IsStandardTiling(int scheme, int datum)
{
    return GridOf(scheme) == GridKind::WebMercator && datum == 0;
}

int GridPosition::Column() const
{
    return static_cast<int>(std::floor(m_column));
}

int GridPosition::Row() const
{
    return static_cast<int>(std::floor(m_row));
}

GridPosition Locate(int scheme, int datum, const KxC::KxPoint2d& metres, int level)
{
    GridPosition position;
    if (level < 0 || level > kMaxLevel)
        return position;
    KxC::KxTileFetcher::GetColRow(
        position.m_column, position.m_row, scheme, metres.x, metres.y, level, datum);
    position.m_inside = Settle(GridOf(scheme), position, level);
    return position;
}

} // namespace KxTileHost
