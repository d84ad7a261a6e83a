// SPDX-License-Identifier: MIT
#pragma once

#include "KxPoint.h"

#include <string>

namespace KxTileHost {

/// A scheme code of each grid that the library knows, the plainest one.
constexpr int kSchemeGeographic = 9;
constexpr int kSchemeWebMercator = 10;
constexpr int kSchemeBaidu = 4;

/// Which grid a scheme code selects.
enum class GridKind { WebMercator, Baidu, Geographic };
GridKind GridOf(int scheme);

/// "Web Mercator", "Baidu", "geographic".
const char* NameOf(GridKind grid);
/// "WGS 84", "GCJ-02", "BD-09".
const char* NameOfDatum(int datum);

/// Whether a source's own tiles are the tiles of the standard Web Mercator tiling.
bool IsStandardTiling(int scheme, int datum);

/// A place in a source's grid: fractional column and row, the row counted from the south (Baidu:
/// from the plane's origin northward).
struct GridPosition
{
    double m_column = 0.0;
    double m_row = 0.0;

    int Column() const;
    int Row() const;
    /// False where the grid does not hold the place.
    bool m_inside = false;
};

/// Where a Web Mercator position, in metres, lies in a grid.
GridPosition Locate(int scheme, int datum, const KxC::KxPoint2d& metres, int level);

} // namespace KxTileHost
