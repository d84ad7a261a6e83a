// SPDX-License-Identifier: MIT
#include "TilePlace.h"

#include "Command.h"
#include "forms/Schemes.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace KxTileHost {

namespace {

constexpr double kMaxMercatorLatitude = 85.0511;

/// Row in tiles from the north edge of the square.
double RowFromNorth(const KxC::KxTSDParamItem& source, double lat, double tiles)
{
    if (!Scheme::IsWebMercator(source.m_nTileScheme))
        return (180.0 - lat) / 360.0 * tiles; // the square reaches from 180 to -180
    const double phi =
        std::clamp(lat, -kMaxMercatorLatitude, kMaxMercatorLatitude) * std::numbers::pi / 180.0;
    return (1.0 - std::asinh(std::tan(phi)) / std::numbers::pi) / 2.0 * tiles;
}

int WithinLevel(double position, double tiles)
{
    return static_cast<int>(std::clamp(std::floor(position), 0.0, tiles - 1.0));
}

} // namespace

HostTile TileAt(const KxC::KxTSDParamItem& source, double lon, double lat, int level)
{
    if (Scheme::IsBaidu(source.m_nTileScheme))
        throw CommandError(kExitWrongUsage,
                           "a place in Baidu's grid cannot be named by degrees here",
                           "Name a tile with --tile COLUMN/ROW/LEVEL.");
    const double tiles = std::exp2(level);
    return {WithinLevel((lon + 180.0) / 360.0 * tiles, tiles),
            WithinLevel(RowFromNorth(source, lat, tiles), tiles),
            level};
}

int LikelyLevel(const KxC::KxTSDParamItem& source)
{
    const KxC::KxSLevelBounds& bounds = source.m_levelBounds;
    const int first = std::clamp(bounds.m_nMinLevel, 0, 30);
    const int last = bounds.m_nMaxLevel > 0 ? std::clamp(bounds.m_nMaxLevel, first, 30) : 30;
    return std::clamp(3, first, last);
}

HostTile LikelyTile(const KxC::KxTSDParamItem& source, std::optional<int> level)
{
    const KxC::KxRect2d& rect = source.m_levelBounds.m_rect;
    const int chosen = level.value_or(LikelyLevel(source));
    const bool whole = rect.m_dRight - rect.m_dLeft > 300.0;
    if (rect.m_dRight > rect.m_dLeft && rect.m_dTop > rect.m_dBottom && !whole)
        return TileAt(source,
                      (rect.m_dLeft + rect.m_dRight) / 2.0,
                      (rect.m_dBottom + rect.m_dTop) / 2.0,
                      chosen);
    return source.m_nDatum != 0 ? TileAt(source, 116.4, 39.9, chosen)
                                : TileAt(source, 10.0, 50.0, chosen);
}

} // namespace KxTileHost
