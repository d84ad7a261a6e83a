// SPDX-License-Identifier: MIT
#include "TilePlace.h"

#include "Command.h"
#include "SourceGrid.h"
#include "forms/FormLimits.h"

#include <fmt/format.h>

#include <algorithm>

namespace KxTileHost {

namespace {

constexpr int kMaxLevel = 30;
constexpr GeoPoint kBeijing{116.4, 39.9};
constexpr GeoPoint kCentralEurope{10.0, 50.0};

GeoPoint LikelyPlace(const KxC::KxTSDParamItem& source)
{
    const KxC::KxRect2d& rect = source.m_levelBounds.m_rect;
    const bool aroundTheWorld = rect.m_dRight - rect.m_dLeft >= 360.0;
    if (HasBounds(source) && !aroundTheWorld)
        return {(rect.m_dLeft + rect.m_dRight) / 2.0, (rect.m_dBottom + rect.m_dTop) / 2.0};
    return source.m_nDatum != 0 ? kBeijing : kCentralEurope;
}

} // namespace

HostTile TileAt(const KxC::KxTSDParamItem& source, const GeoPoint& place, int level)
{
    const GridPosition position =
        Locate(source.m_nTileScheme, source.m_nDatum, place.ToWebMercator(), level);
    if (!position.m_inside)
        throw CommandError(kExitNoTile,
                           fmt::format("the source's grid has no tile at {},{} on level {}",
                                       place.m_lon,
                                       place.m_lat,
                                       level),
                           "Choose another place with --at, or a tile with --tile.");
    return {position.Column(), (1 << level) - 1 - position.Row(), level};
}

int LikelyLevel(const KxC::KxTSDParamItem& source)
{
    const KxC::KxSLevelBounds& bounds = source.m_levelBounds;
    const int first = std::clamp(bounds.m_nMinLevel, 0, kMaxLevel);
    const int last =
        HasMaxLevel(source) ? std::clamp(bounds.m_nMaxLevel, first, kMaxLevel) : kMaxLevel;
    return std::clamp(3, first, last);
}

HostTile LikelyTile(const KxC::KxTSDParamItem& source, std::optional<int> level)
{
    return TileAt(source, LikelyPlace(source), level.value_or(LikelyLevel(source)));
}

} // namespace KxTileHost
