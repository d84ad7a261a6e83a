// SPDX-License-Identifier: MIT
// Web Mercator tiles cut from rasters.
#include "KxImgUtility.h"
#include "KxMath.h"
#include "KxRasterAccessorManager.h"
#include "KxTileFetcher.h"
#include "Operation.h"
#include "OutputTile.h"
#include "RasterSource.h"
#include "SampleTile.h"
#include "SourceTiles.h"
#include "TileNumbers.h"
#include "TileRange.h"

#include <exception>
#include <memory>

namespace KxC {

namespace {

/// The size up to which a raster's own tiles suffice; larger outputs take a deeper level.
constexpr int kRasterTileSize = 256;
/// What a stored tile's read answers when it went well.
constexpr int kReadDone = 5;

/// The geographic square grid, in which every reader offers its tiles.
SourceGrid RasterGrid(int level)
{
    return {0, KxDatum_WGS84, level};
}

/// Hands out the bytes of a raster that is stored as Web Mercator tiles.
bool ReadStoredTile(std::unique_ptr<KxRawData>& out,
                    KxRasterDataAccessor& accessor,
                    const WebMercatorTile& tile)
{
    const int tilesPerAxis = TilesPerAxis(tile.m_level);
    if (tile.m_row < 0 || tile.m_row >= tilesPerAxis)
        return true;
    auto stored = std::make_unique<KxRawData>();
    unsigned char* bytes = nullptr;
    unsigned int size = 0;
    const int row = tilesPerAxis - 1 - tile.m_row;
    const int status = accessor.ReadTileData(tile.m_level, row, tile.m_col, bytes, size);
    stored->Attach(bytes, size); // its own from here on, also where it is not wanted
    if (status != kReadDone)
        return false;
    if (bytes == nullptr || size == 0)
        return true;
    stored->SetExt(KxImgUtility::TellImgExt(bytes, size));
    out = std::move(stored);
    return true;
}

/// @return false when the tiles are too many or too large
bool ReadTiles(SourceTiles& tiles, const RasterSource& raster, int level)
{
    if (!tiles.IsInBounds())
        return false;
    const TileRange& range = tiles.Range();
    for (int row = range.m_minRow; row <= range.m_maxRow; ++row)
        for (int col = range.m_minCol; col <= range.m_maxCol; ++col) {
            KxWMImageTileData* tile = nullptr;
            raster.Fetch(tile, {level, row, col});
            tiles.Put(row, col, tile);
            if (!tiles.IsInBounds())
                return false;
        }
    return true;
}

/// Samples an output tile from a raster's own tiles.
/// @param out  stays null where the raster has nothing
/// @return false when the tile cannot be made
bool CutTile(std::unique_ptr<KxRawData>& out,
             KxRasterDataAccessor& accessor,
             const KxString& dataPath,
             const WebMercatorTile& tile,
             int tileSize)
{
    const int level = SourceLevel(tile.m_level, tileSize, kRasterTileSize);
    if (level < accessor.GetMinLevel() || level > accessor.GetMaxLevel() || !IsTileLevel(level))
        return true;
    TileRange range = FindTileRange(tile, RasterGrid(level));
    if (!range.ClampTo(TilesPerAxis(level)) || !Covers(accessor, range, level))
        return true;
    // The memory cache owns a raster's tiles whatever the host's switches say.
    SourceTiles tiles(range, true);
    if (!ReadTiles(tiles, RasterSource(accessor, dataPath), level))
        return false;
    if (!tiles.HasImage())
        return true;
    // Gaps stay transparent.
    const auto output = NewOutputImage(tileSize, tiles.HasAlpha() || tiles.HasGap());
    if (output == nullptr)
        return false;
    SampleTile(*output, AxesOf(tile, tileSize), tiles, RasterGrid(level));
    out = EncodeOutput(*output);
    return out != nullptr;
}

bool FetchTile(std::unique_ptr<KxRawData>& out,
               const KxString& dataPath,
               const WebMercatorTile& tile,
               int tileSize)
{
    if (!IsTileLevel(tile.m_level) || !IsOutputSize(tileSize))
        return false;
    KxRasterDataAccessor* const accessor = m_gRasterAccessorManager.OpenDataAccessor(dataPath);
    if (accessor == nullptr)
        return false;
    if (accessor->GetGeoReferenceType() == KxEGeoReferenceType_WebMercatorTiles)
        return ReadStoredTile(out, *accessor, tile);
    return CutTile(out, *accessor, dataPath, tile, tileSize);
}

} // namespace

unsigned char KxTileFetcher::FetchTileFromRaster(
    KxRawData*& tile, const KxString& dataPath, int x, int y, int z, int tileSize)
try {
    tile = nullptr;
    const Operation operation;
    std::unique_ptr<KxRawData> out;
    if (!FetchTile(out, dataPath, {x, y, z}, tileSize))
        return 0;
    tile = out.release();
    return 1;
} catch (const std::exception&) {
    tile = nullptr;
    return 0;
}

} // namespace KxC
