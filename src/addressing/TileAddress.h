// SPDX-License-Identifier: MIT
#pragma once

namespace KxC {

/// A tile of a source's own grid, as the library addresses it: rows count from the south.
struct SourceTile
{
    int m_level;
    int m_row;
    int m_col;
};

/// A tile of the standard Web Mercator tiling, as hosts ask for it: rows count from the north.
struct WebMercatorTile
{
    int m_col;
    int m_row;
    int m_level;
};

/// How a tile's row gets into the URL.
enum class RowRule {
    AsSourceCounts, ///< the row counts from the south and is turned where the service counts
                    ///< from the north
    AsGiven,        ///< the row is the service's own already
};

} // namespace KxC
