// SPDX-License-Identifier: MIT
#pragma once

#include "GeoBounds.h"
#include "HostTile.h"
#include "LevelRange.h"

#include <cstdint>
#include <vector>

namespace KxTileHost {

/// How many tiles of one level a list holds.
struct LevelCount
{
    int m_level;
    std::uint64_t m_tiles;
};

/// Tiles of the Web Mercator tiling, in an order of their own. Those of bounds are counted and
/// found by their number without being written down: a list of the whole world's level 30 takes no
/// more room than any other. Only read after it is made; any thread.
class TileList
{
public:
    /// All tiles that the bounds touch with more than their edge, level by level from the north
    /// west, row by row. Bounds without width or height take the tiles that hold them. Beyond
    /// latitude 85.0511, where the tiling ends, there are no tiles.
    TileList(const GeoBounds& bounds, const LevelRange& levels);
    /// These tiles, as they stand.
    explicit TileList(std::vector<HostTile> tiles);

    std::uint64_t Count() const { return m_count; }
    /// @param index  [0, Count())
    HostTile At(std::uint64_t index) const;
    /// Of each level that has any, the coarsest first.
    std::vector<LevelCount> CountsByLevel() const;

private:
    /// Tiles that lie together: all rows and columns from the first to the last.
    struct Block
    {
        int m_level;
        int m_firstRow;
        int m_firstCol;
        std::uint64_t m_rows;
        std::uint64_t m_cols;
        std::uint64_t m_before; ///< tiles of all blocks in front of this one

        std::uint64_t Count() const { return m_rows * m_cols; }
    };

    void AddLevel(const GeoBounds& bounds, int level);

    std::vector<Block> m_blocks;
    std::vector<HostTile> m_tiles;
    std::uint64_t m_count = 0;
};

} // namespace KxTileHost
