// SPDX-License-Identifier: MIT
#include "MemoryCache.h"

#include <ctime>
#include <new>

namespace KxC {

void HandToMemoryCache(const KxString& hashKey, KxWMImageTileData* tile)
{
    KxWMTileDataCache* cache = m_gWMTileDataCacheManager.OpenCache(hashKey);
    auto* entry = cache == nullptr ? nullptr : new (std::nothrow) KxWMTileDataCacheEntry;
    if (entry == nullptr) {
        m_gWMTileDataCacheManager.KeepForThread(tile);
        return;
    }
    entry->m_dTime = static_cast<double>(std::clock());
    entry->m_pTile = tile;
    cache->AddToCache(entry);
}

} // namespace KxC
