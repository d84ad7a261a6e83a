// SPDX-License-Identifier: MIT
#include "KxWMTileDataCache.h"

#include "ThreadTilePins.h"
#include "TileCacheNames.h"
#include "TileStore.h"

#include <string_view>
#include <utility>

namespace KxC {

struct KxWMTileDataCacheManager::Store
{
    TileStore m_tiles;
    TileCacheNames m_names;
};

KxWMTileDataCache::KxWMTileDataCache(KxWMTileDataCacheManager& manager, unsigned int id)
    : m_manager(manager), m_nId(id)
{
}

KxWMTileData* KxWMTileDataCache::AccessTileData(int level, int row, int col)
try {
    return m_manager.m_store->m_tiles.Find({m_nId, level, row, col});
} catch (...) {
    return nullptr; // no memory to hold the tile with: as good as not there
}

void KxWMTileDataCache::AddToCache(KxWMTileDataCacheEntry* entry)
{
    const std::unique_ptr<KxWMTileDataCacheEntry> owner(entry);
    std::unique_ptr<KxWMTileData> tile(entry == nullptr ? nullptr : entry->m_pTile);
    if (tile == nullptr)
        return;
    const TileAddress address{m_nId, tile->GetLevel(), tile->GetRow(), tile->GetCol()};
    m_manager.m_store->m_tiles.Add(address, std::move(tile));
}

KxWMTileDataCacheManager::KxWMTileDataCacheManager() : m_store(new Store) {}

KxWMTileDataCacheManager::~KxWMTileDataCacheManager()
{
    if (this != &m_gWMTileDataCacheManager)
        delete m_store;
}

KxWMTileDataCache* KxWMTileDataCacheManager::OpenCache(const KxString& hashKey)
try {
    const std::string_view name(hashKey.Cstr(), static_cast<std::size_t>(hashKey.GetLength()));
    return m_store->m_names.FindOrAdd(name, [this](unsigned int number) {
        return std::unique_ptr<KxWMTileDataCache>(new KxWMTileDataCache(*this, number));
    });
} catch (...) {
    return nullptr;
}

void KxWMTileDataCacheManager::KeepForThread(KxWMTileData* tile)
{
    ThreadTilePins::OfThisThread().Keep(std::unique_ptr<KxWMTileData>(tile));
}

void KxWMTileDataCacheManager::ReleaseThreadTiles()
{
    ThreadTilePins::OfThisThread().Release();
}

void KxWMTileDataCacheManager::SetBudget(std::size_t bytes)
{
    m_store->m_tiles.SetBudget(bytes);
}

std::size_t KxWMTileDataCacheManager::GetBudget() const
{
    return m_store->m_tiles.GetBudget();
}

KxWMTileDataCacheStatistics KxWMTileDataCacheManager::GetStatistics() const
{
    return m_store->m_tiles.GetStatistics();
}

KxWMTileDataCacheStatistics KxWMTileDataCacheManager::GetThreadStatistics() const
{
    return m_store->m_tiles.GetThreadStatistics();
}

void KxWMTileDataCacheManager::Clear()
{
    m_store->m_tiles.Clear();
}

KxWMTileDataCacheManager m_gWMTileDataCacheManager;

} // namespace KxC
