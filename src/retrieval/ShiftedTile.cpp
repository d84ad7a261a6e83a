// SPDX-License-Identifier: MIT
#include "BlockCopy.h"
#include "KxTileFetcher.h"
#include "Operation.h"
#include "OutputTile.h"
#include "SourceTiles.h"
#include "TileGrid.h"
#include "TileNumbers.h"

#include <algorithm>
#include <exception>

namespace KxC {

namespace {

/// One axis of the two-by-two block of source tiles under an output tile.
class BlockPlace
{
public:
    /// @param coordinate  of the output tile's south-west corner in the source's grid
    /// @param tileSize    S, pixels
    /// @param tileCount   n, tiles per axis
    BlockPlace(double coordinate, int tileSize, int tileCount);

    int First() const { return m_first; }
    int Last() const { return m_last; }
    bool IsOutside() const { return m_outside; }

    /// The part that a tile of the block gives to the output.
    BlockAxis Part(int index) const
    {
        const int count = m_tileSize - m_start;
        if (index == m_first)
            return {m_start, 0, count};
        return {0, count, m_tileSize - count};
    }

private:
    int m_tileSize;
    int m_first = 0;
    int m_last = 0;
    int m_start = 0; ///< first pixel of the first tile; negative where that lies in the grid's edge
    bool m_outside = true;
};

BlockPlace::BlockPlace(double coordinate, int tileSize, int tileCount) : m_tileSize(tileSize)
{
    m_first = TruncateToInt(coordinate);
    if (m_first >= tileCount)
        return;
    int offset = TruncateToInt((coordinate - m_first) * tileSize);
    if (offset == tileSize) {
        ++m_first;
        offset = 0;
    }
    m_last = std::min(offset < 1 ? m_first : m_first + 1, tileCount - 1);
    m_outside = m_first >= tileCount || m_last < 0;
    // Which tiles are needed counts S pixels a tile; where copying starts counts S - 1 steps
    // between the first and the last pixel.
    if (!m_outside)
        m_start = TruncateToInt((coordinate - m_first) * (tileSize - 1));
}

/// One output tile joined from up to four source tiles.
class ShiftedTile
{
public:
    ShiftedTile(KxTSDParamItem& source, const WebMercatorTile& tile, int requestParam)
        : m_source(source), m_tile(tile), m_requestParam(requestParam)
    {
    }

    /// @param out  receives the tile; stays null where there is nothing to draw
    /// @return whether the operation succeeded
    bool Run(std::unique_ptr<KxRawData>& out) const
    {
        const Extent extent = ExtentOf(m_tile);
        const SourceGrid grid{m_source.m_nTileScheme, m_source.m_nDatum, m_tile.m_level};
        const GridPosition corner = grid(extent.m_minX, extent.m_minY);
        const int tileCount = TilesPerAxis(m_tile.m_level);
        const BlockPlace columns(corner.m_col, m_source.m_nTileSize, tileCount);
        const BlockPlace rows(corner.m_row, m_source.m_nTileSize, tileCount);
        return columns.IsOutside() || rows.IsOutside() || Join(columns, rows, out);
    }

private:
    bool
    Join(const BlockPlace& columns, const BlockPlace& rows, std::unique_ptr<KxRawData>& out) const
    {
        const CacheSwitches switches = CacheSwitches::Read();
        SourceTiles tiles({rows.First(), columns.First(), rows.Last(), columns.Last()},
                          switches.m_memory);
        if (!FetchSourceTiles(tiles, m_source, m_tile.m_level, m_requestParam, switches))
            return false;
        if (!tiles.HasImage())
            return true;
        const bool withAlpha = tiles.HasAlpha() && KeepsAlpha(m_source.m_strImageFormat);
        const std::unique_ptr<KxImageData> output = NewOutputImage(m_source.m_nTileSize, withAlpha);
        if (output == nullptr)
            return false;
        for (int row = rows.First(); row <= rows.Last(); ++row)
            for (int col = columns.First(); col <= columns.Last(); ++col)
                if (const KxImageData* image = tiles.ImageAt(row, col))
                    CopyBlock(*image, *output, columns.Part(col), rows.Part(row));
        out = EncodeOutput(*output);
        return out != nullptr;
    }

    KxTSDParamItem& m_source;
    WebMercatorTile m_tile;
    int m_requestParam;
};

} // namespace

unsigned char KxTileFetcher::FetchWMTile5(
    KxRawData*& out, KxTSDParamItem* source, int x, int y, int z, int tileSize, int requestParam)
try {
    if (source == nullptr)
        return 0;
    const Operation operation;
    out = nullptr;
    if (!IsTileLevel(z) || !IsTileSize(tileSize) || !IsOutputSize(source->m_nTileSize))
        return 0;
    std::unique_ptr<KxRawData> tile;
    if (!ShiftedTile(*source, {x, y, z}, requestParam).Run(tile))
        return 0;
    out = tile.release();
    return 1;
} catch (const std::exception&) {
    out = nullptr;
    return 0;
}

} // namespace KxC
