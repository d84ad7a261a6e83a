// SPDX-License-Identifier: MIT
#include "RasterSource.h"

#include "KxTileFetcher.h"
#include "KxUtility.h"
#include "MemoryCache.h"
#include "Operation.h"

#include <exception>
#include <memory>

namespace KxC {

namespace {

std::unique_ptr<KxWMImageTileData> ReadTile(KxRasterDataAccessor& accessor,
                                            const SourceTile& address)
{
    KxImageData* read = nullptr;
    accessor.ReadTileImage(read, address.m_level, address.m_row, address.m_col);
    std::unique_ptr<KxImageData> image(read);
    if (image == nullptr)
        return nullptr;
    auto tile = std::make_unique<KxWMImageTileData>(
        address.m_level, address.m_row, address.m_col, image.get());
    static_cast<void>(image.release());
    return tile;
}

} // namespace

RasterSource::RasterSource(KxRasterDataAccessor& accessor, const KxString& dataPath)
    : m_accessor(accessor), m_strKey(KxUtility::GetValidHashKey(dataPath))
{
}

bool RasterSource::Fetch(KxWMImageTileData*& tile, const SourceTile& address) const
{
    if (KxWMTileDataCache* const cache = m_gWMTileDataCacheManager.OpenCache(m_strKey)) {
        // The cache of a raster holds pictures only.
        tile = static_cast<KxWMImageTileData*>(
            cache->AccessTileData(address.m_level, address.m_row, address.m_col));
        if (tile != nullptr)
            return true;
    }
    return Read(tile, address);
}

bool RasterSource::Read(KxWMImageTileData*& tile, const SourceTile& address) const
{
    auto read = ReadTile(m_accessor, address);
    if (read == nullptr)
        return false;
    tile = read.get();
    HandToMemoryCache(m_strKey, read.release());
    return true;
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
