// SPDX-License-Identifier: MIT
#pragma once

#include "KxTSDParam.h"

#include <string>

namespace KxTileHost {

/// A tile as people name it: column from the west, row from the north, level.
struct HostTile
{
    int m_x;
    int m_y;
    int m_z;

    /// The row as the library counts it, from the south.
    int RowFromSouth() const { return (1 << m_z) - 1 - m_y; }

    /// The row that a direct download of this source wants. It does not turn rows by itself, but
    /// still applies the three-quarter rule of the schemes that have one.
    int RowForDirectDownload(const KxC::KxTSDParamItem& source) const;
};

/// Reads "COLUMN/ROW/LEVEL".
/// @throws CommandError (wrong usage) for anything else, and for a tile that no level has
HostTile ParseHostTile(const std::string& text);

/// Reads "COLUMN/ROW/LEVEL" of a source's own grid: as ParseHostTile, but in the Baidu grid, where
/// numbers may be negative, the row counts northward from the grid's origin.
/// @throws CommandError as ParseHostTile
HostTile ParseOwnTile(const std::string& text, const KxC::KxTSDParamItem& source);

} // namespace KxTileHost
