// SPDX-License-Identifier: MIT
#include "RasterSource.h"

#include "KxMath.h"
#include "KxTileFetcher.h"
#include "KxUtility.h"
#include "MemoryCache.h"
#include "Operation.h"

#include <exception>
#include <memory>
#include <utility>

namespace KxC {

namespace {

constexpr double kTouching = 1e-16; ///< degrees

KxWMImageTileData* FindIn(KxWMTileDataCache& cache, const SourceTile& address)
{
    // The cache of a raster holds pictures only.
    return static_cast<KxWMImageTileData*>(
        cache.AccessTileData(address.m_level, address.m_row, address.m_col));
}

} // namespace

bool Covers(const KxRasterDataAccessor& accessor, const TileRange& range, int level)
{
    KxRect2d southWest;
    KxRect2d northEast;
    KxMath::CalcTileBounds(southWest, level, range.m_minRow, range.m_minCol);
    KxMath::CalcTileBounds(northEast, level, range.m_maxRow, range.m_maxCol);
    return accessor.GetLatLonBounds().IsIntersect(southWest.Union(northEast), kTouching);
}

RasterSource::RasterSource(KxRasterDataAccessor& accessor, const KxString& dataPath)
    : m_accessor(accessor), m_strKey(KxUtility::GetValidHashKey(dataPath))
{
}

bool RasterSource::Fetch(KxWMImageTileData*& tile, const SourceTile& address) const
{
    KxWMTileDataCache* const cache = m_gWMTileDataCacheManager.OpenCache(m_strKey);
    if (cache != nullptr) {
        tile = FindIn(*cache, address);
        if (tile != nullptr)
            return true;
    }
    auto read = Read(address);
    if (read == nullptr)
        return false;
    tile = read.get();
    Keep(std::move(read));
    return true;
}

KxWMImageTileData* RasterSource::Find(const SourceTile& address) const
{
    KxWMTileDataCache* const cache = m_gWMTileDataCacheManager.OpenCache(m_strKey);
    return cache != nullptr ? FindIn(*cache, address) : nullptr;
}

std::unique_ptr<KxWMImageTileData> RasterSource::Read(const SourceTile& address) const
{
    KxImageData* read = nullptr;
    m_accessor.ReadTileImage(read, address.m_level, address.m_row, address.m_col);
    std::unique_ptr<KxImageData> image(read);
    if (image == nullptr)
        return nullptr;
    auto tile = std::make_unique<KxWMImageTileData>(
        address.m_level, address.m_row, address.m_col, image.get());
    static_cast<void>(image.release());
    return tile;
}

void RasterSource::Keep(std::unique_ptr<KxWMImageTileData> tile) const
{
    HandToMemoryCache(m_strKey, tile.release());
}

unsigned char KxTileFetcher::FetchRasterData(KxWMImageTileData*& tile,
                                             KxRasterDataAccessor* accessor,
                                             const KxString& dataPath,
                                             int column,
                                             int row,
                                             int level)
try {
    if (accessor == nullptr)
        return 0;
    const Operation operation;
    return RasterSource(*accessor, dataPath).Fetch(tile, {level, row, column}) ? 1 : 0;
} catch (const std::exception&) {
    tile = nullptr;
    return 0;
}

} // namespace KxC
