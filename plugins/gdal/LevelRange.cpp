// SPDX-License-Identifier: MIT
#include "LevelRange.h"

#include <cmath>

namespace KxC {

namespace {

double TileDegrees(int level)
{
    return std::ldexp(360.0, -level);
}

/// True when one tile's width holds what lies between two positions.
bool IsInOne(double from, double to, int level)
{
    const double first = std::floor((from + 180) / TileDegrees(level));
    const double behindLast = std::ceil((to + 180) / TileDegrees(level));
    return behindLast - first <= 1;
}

} // namespace

LevelRange FindLevels(const KxRect2d& bounds, double pixelDegrees)
{
    // Rasters cut on the grid itself carry its pixel size rounded.
    constexpr double kRounding = 1 + 1e-6;
    LevelRange range;
    while (range.m_max < kDeepestLevel &&
           TileDegrees(range.m_max) / kTileSide > pixelDegrees * kRounding)
        ++range.m_max;
    range.m_min = range.m_max;
    while (range.m_min > 0 && !(IsInOne(bounds.m_dLeft, bounds.m_dRight, range.m_min) &&
                                IsInOne(bounds.m_dBottom, bounds.m_dTop, range.m_min)))
        --range.m_min;
    return range;
}

} // namespace KxC
