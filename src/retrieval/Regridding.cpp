// SPDX-License-Identifier: MIT
#include "KxMath.h"
#include "KxTileFetcher.h"
#include "Operation.h"
#include "OutputTile.h"
#include "SampleTile.h"
#include "SourceTiles.h"
#include "TileGrid.h"
#include "TileNumbers.h"

#include <exception>

namespace KxC {

namespace {

/// One output tile on its way from address to encoded bytes.
class Regridding
{
public:
    Regridding(KxTSDParamItem& source, const WebMercatorTile& tile, int tileSize, int requestParam)
        : m_source(source), m_tile(tile), m_tileSize(tileSize), m_requestParam(requestParam)
    {
    }

    /// @param out  receives the tile; stays null where there is nothing to draw
    /// @return whether the operation succeeded
    bool Run(std::unique_ptr<KxRawData>& out) const
    {
        if (!IsTileLevel(m_tile.m_level) || !IsOutputSize(m_tileSize) ||
            !IsTileSize(m_source.m_nTileSize))
            return false;
        const int level = SourceLevel(m_tile.m_level, m_tileSize, m_source.m_nTileSize);
        return IsTileLevel(level) && RunOn({m_source.m_nTileScheme, m_source.m_nDatum, level}, out);
    }

private:
    /// Whether the tile lies beside the source's own square. Its edge may touch the square's all
    /// the same.
    bool LiesBeside(const SourceGrid& grid) const
    {
        const int count = TilesPerAxis(m_tile.m_level);
        const bool inside =
            m_tile.m_col >= 0 && m_tile.m_col < count && m_tile.m_row >= 0 && m_tile.m_row < count;
        return !inside && grid.m_datum == KxDatum_WGS84 &&
               GridOfScheme(grid.m_scheme) == TileGrid::WebMercator;
    }

    bool RunOn(const SourceGrid& grid, std::unique_ptr<KxRawData>& out) const
    {
        if (LiesBeside(grid))
            return true;
        TileRange range = FindTileRange(m_tile, grid);
        if (!range.ClampTo(TilesPerAxis(grid.m_level)))
            return true;
        const CacheSwitches switches = CacheSwitches::Read();
        SourceTiles tiles(range, switches.m_memory);
        if (!FetchSourceTiles(tiles, m_source, grid.m_level, m_requestParam, switches))
            return false;
        if (!tiles.HasImage())
            return true;
        const bool withAlpha = tiles.HasAlpha() && KeepsAlpha(m_source.m_strImageFormat);
        const std::unique_ptr<KxImageData> output = NewOutputImage(m_tileSize, withAlpha);
        if (output == nullptr)
            return false;
        SampleTile(*output, AxesOf(m_tile, m_tileSize), tiles, grid);
        out = EncodeOutput(*output);
        return out != nullptr;
    }

    KxTSDParamItem& m_source;
    WebMercatorTile m_tile;
    int m_tileSize;
    int m_requestParam;
};

} // namespace

unsigned char KxTileFetcher::FetchWMTile3(
    KxRawData*& out, KxTSDParamItem* source, int x, int y, int z, int tileSize, int requestParam)
try {
    if (source == nullptr)
        return 0;
    const Operation operation;
    out = nullptr;
    std::unique_ptr<KxRawData> tile;
    if (!Regridding(*source, {x, y, z}, tileSize, requestParam).Run(tile))
        return 0;
    out = tile.release();
    return 1;
} catch (const std::exception&) {
    out = nullptr;
    return 0;
}

} // namespace KxC
