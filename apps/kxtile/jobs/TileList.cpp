// SPDX-License-Identifier: MIT
#include "TileList.h"

#include "GeoPoint.h"
#include "KxMath.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace KxTileHost {

namespace {

/// Tiles: what lies this close to a tile's edge is meant to lie on it. The edge of a tile's bounds,
/// written in degrees and read again, is a little beside it; at level 30 by 1e-7.
constexpr double kOnTheEdge = 1e-6;

/// First and last index, both included.
struct Span
{
    int m_first;
    int m_last;

    bool IsEmpty() const { return m_first > m_last; }
};

double TilesPerAxis(int level)
{
    return std::ldexp(1.0, level);
}

/// The tiles between two positions on an axis, in fractions of the world.
Span SpanBetween(double from, double to, int level)
{
    const double count = TilesPerAxis(level);
    const double first = std::clamp(std::floor(from * count + kOnTheEdge), 0.0, count - 1.0);
    const double last = std::clamp(std::ceil(to * count - kOnTheEdge) - 1.0, 0.0, count - 1.0);
    return {static_cast<int>(first), static_cast<int>(std::max(first, last))};
}

double ColumnFraction(double longitude)
{
    return (longitude + 180.0) / 360.0;
}

/// From the north; below 0 and above 1 beyond the tiling.
double RowFraction(double latitude)
{
    const double metres = GeoPoint{0.0, latitude}.ToWebMercator().y;
    return (1.0 - metres / KxC::KxMath::kHalfWorld) / 2.0;
}

Span RowsOf(const GeoBounds& bounds, int level)
{
    const double from = RowFraction(bounds.m_north);
    const double to = RowFraction(bounds.m_south);
    if (to < 0.0 || from > 1.0)
        return {0, -1};
    return SpanBetween(std::max(from, 0.0), std::min(to, 1.0), level);
}

/// One span, or two where the bounds cross the antimeridian and leave out some column.
std::array<Span, 2> ColumnsOf(const GeoBounds& bounds, int level)
{
    constexpr Span kNone{0, -1};
    const double west = ColumnFraction(bounds.m_west);
    const double east = ColumnFraction(bounds.m_east);
    if (!bounds.CrossesAntimeridian())
        return {SpanBetween(west, east, level), kNone};
    const Span beforeIt = SpanBetween(west, 1.0, level);
    const Span behindIt = SpanBetween(0.0, east, level);
    if (behindIt.m_last + 1 >= beforeIt.m_first)
        return {Span{0, beforeIt.m_last}, kNone};
    return {beforeIt, behindIt};
}

} // namespace

TileList::TileList(const GeoBounds& bounds, const LevelRange& levels)
{
    for (int level = levels.m_first; level <= levels.m_last; ++level)
        AddLevel(bounds, level);
}

TileList::TileList(std::vector<HostTile> tiles) : m_tiles(std::move(tiles)), m_count(m_tiles.size())
{
}

void TileList::AddLevel(const GeoBounds& bounds, int level)
{
    const Span rows = RowsOf(bounds, level);
    if (rows.IsEmpty())
        return;
    for (const Span& columns : ColumnsOf(bounds, level)) {
        if (columns.IsEmpty())
            continue;
        m_blocks.push_back({level,
                            rows.m_first,
                            columns.m_first,
                            static_cast<std::uint64_t>(rows.m_last - rows.m_first) + 1,
                            static_cast<std::uint64_t>(columns.m_last - columns.m_first) + 1,
                            m_count});
        m_count += m_blocks.back().Count();
    }
}

HostTile TileList::At(std::uint64_t index) const
{
    if (m_blocks.empty())
        return m_tiles[index];
    const auto behind = std::upper_bound(
        m_blocks.begin(), m_blocks.end(), index, [](std::uint64_t wanted, const Block& block) {
            return wanted < block.m_before;
        });
    const Block& block = *std::prev(behind);
    const std::uint64_t inside = index - block.m_before;
    return {block.m_firstCol + static_cast<int>(inside % block.m_cols),
            block.m_firstRow + static_cast<int>(inside / block.m_cols),
            block.m_level};
}

std::vector<LevelCount> TileList::CountsByLevel() const
{
    std::array<std::uint64_t, 31> counts{};
    for (const Block& block : m_blocks)
        counts[static_cast<std::size_t>(block.m_level)] += block.Count();
    for (const HostTile& tile : m_tiles)
        ++counts[static_cast<std::size_t>(tile.m_z)];
    std::vector<LevelCount> levels;
    for (std::size_t level = 0; level < counts.size(); ++level)
        if (counts[level] > 0)
            levels.push_back({static_cast<int>(level), counts[level]});
    return levels;
}

} // namespace KxTileHost
