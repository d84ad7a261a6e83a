// SPDX-License-Identifier: MIT
#include "PackBounds.h"

#include "KxMath.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <numbers>

namespace KxC {

namespace {

double DegreesOf(double radians)
{
    return radians * 180.0 / std::numbers::pi;
}

/// In the "C" number format, whatever the process's locale.
bool TakeNumber(std::string_view& text, double& number)
{
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc())
        return false;
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    return true;
}

bool TakeComma(std::string_view& text)
{
    if (!text.starts_with(','))
        return false;
    text.remove_prefix(1);
    return true;
}

} // namespace

KxRect2d WorldBounds()
{
    return BoundsOfTiles(0, {0, 0, 0, 0});
}

std::optional<KxRect2d> ClampBounds(const KxRect2d& bounds)
{
    for (const double edge : {bounds.m_dLeft, bounds.m_dTop, bounds.m_dRight, bounds.m_dBottom})
        if (!std::isfinite(edge))
            return std::nullopt;
    const KxRect2d world = WorldBounds();
    const KxRect2d clamped(std::max(bounds.m_dLeft, world.m_dLeft),
                           std::min(bounds.m_dTop, world.m_dTop),
                           std::min(bounds.m_dRight, world.m_dRight),
                           std::max(bounds.m_dBottom, world.m_dBottom));
    if (clamped.m_dLeft >= clamped.m_dRight || clamped.m_dBottom >= clamped.m_dTop)
        return std::nullopt;
    return clamped;
}

std::optional<KxRect2d> ParseBounds(std::string_view text)
{
    std::array<double, 4> edges{};
    for (double& edge : edges)
        if ((&edge != edges.data() && !TakeComma(text)) || !TakeNumber(text, edge))
            return std::nullopt;
    if (!text.empty())
        return std::nullopt;
    return ClampBounds({edges[0], edges[3], edges[2], edges[1]});
}

KxRect2d BoundsOfTiles(int level, const TileBlock& block)
{
    KxRect2d southWest;
    KxRect2d northEast;
    KxMath::CalcWMTileBounds(southWest, level, block.m_nMinRow, block.m_nMinCol, 1);
    KxMath::CalcWMTileBounds(northEast, level, block.m_nMaxRow, block.m_nMaxCol, 1);
    const KxPoint2d low = KxMath::WebMecator2LatLon(southWest.m_dLeft, southWest.m_dBottom);
    const KxPoint2d high = KxMath::WebMecator2LatLon(northEast.m_dRight, northEast.m_dTop);
    return {DegreesOf(low.x), DegreesOf(high.y), DegreesOf(high.x), DegreesOf(low.y)};
}

} // namespace KxC
