// SPDX-License-Identifier: MIT
#include "KxWMTileDataCache.h"

#include "ThreadTilePins.h"
#include "TileShard.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <mutex>
#include <shared_mutex>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>

namespace KxC {

namespace {

struct TextHash
{
    using is_transparent = void; // NOLINT(readability-identifier-naming): the standard's name
    std::size_t operator()(std::string_view text) const noexcept
    {
        return std::hash<std::string_view>()(text);
    }
};

std::string_view ViewOf(const KxString& text)
{
    return {text.Cstr(), static_cast<std::size_t>(text.GetLength())};
}

} // namespace

struct KxWMTileDataCacheManager::Store
{
    static constexpr std::size_t kShardCount = 32;

    TileShard& ShardOf(const TileAddress& address)
    {
        // The map inside the shard uses the low bits of the same hash: take others.
        return m_shards[(TileAddressHash()(address) >> 48U) % kShardCount];
    }

    void Put(const TileAddress& address, std::shared_ptr<KxWMTileData> tile, std::size_t bytes);
    void Forget(const TileAddress& address);
    bool IsOverBudget() const;
    void KeepBudget();
    TileShard& OldestShard();

    std::array<TileShard, kShardCount> m_shards;
    /// Signed: a tile may be thrown out before the thread that put it in has counted it.
    std::atomic<std::ptrdiff_t> m_nBytes{0};
    std::atomic<std::size_t> m_nBudget{kDefaultBudget};
    /// One thread at a time makes room, lest several together throw out more than is needed.
    std::mutex m_evicting;

    std::shared_mutex m_cachesLock;
    std::unordered_map<std::string, std::unique_ptr<KxWMTileDataCache>, TextHash, std::equal_to<>>
        m_caches;
};

void KxWMTileDataCacheManager::Store::Put(const TileAddress& address,
                                          std::shared_ptr<KxWMTileData> tile,
                                          std::size_t bytes)
{
    if (bytes > m_nBudget) {
        Forget(address);
        return;
    }
    const std::ptrdiff_t grown = ShardOf(address).Put(address, std::move(tile), bytes);
    m_nBytes += grown;
    KeepBudget();
}

void KxWMTileDataCacheManager::Store::Forget(const TileAddress& address)
{
    m_nBytes -= static_cast<std::ptrdiff_t>(ShardOf(address).Remove(address));
}

bool KxWMTileDataCacheManager::Store::IsOverBudget() const
{
    const std::ptrdiff_t bytes = m_nBytes;
    return bytes > 0 && static_cast<std::size_t>(bytes) > m_nBudget;
}

void KxWMTileDataCacheManager::Store::KeepBudget()
{
    if (!IsOverBudget())
        return;
    const std::lock_guard<std::mutex> guard(m_evicting);
    while (IsOverBudget()) {
        const std::size_t gone = OldestShard().RemoveOldest();
        if (gone == 0)
            return; // emptied by Clear meanwhile
        m_nBytes -= static_cast<std::ptrdiff_t>(gone);
    }
}

TileShard& KxWMTileDataCacheManager::Store::OldestShard()
{
    return *std::min_element(
        m_shards.begin(), m_shards.end(), [](const TileShard& left, const TileShard& right) {
            return left.GetOldestUse() < right.GetOldestUse();
        });
}

KxWMTileDataCache::KxWMTileDataCache(KxWMTileDataCacheManager& manager, unsigned int id)
    : m_manager(manager), m_nId(id)
{
}

KxWMTileData* KxWMTileDataCache::AccessTileData(int level, int row, int col)
try {
    ThreadTilePins& pins = ThreadTilePins::OfThisThread();
    pins.Reserve();
    const TileAddress address{m_nId, level, row, col};
    std::shared_ptr<KxWMTileData> tile = m_manager.m_store->ShardOf(address).Find(address);
    KxWMTileData* const result = tile.get();
    if (result != nullptr)
        pins.Pin(std::move(tile));
    return result;
} catch (...) {
    return nullptr; // no memory to hold the tile with: as good as not there
}

void KxWMTileDataCache::AddToCache(KxWMTileDataCacheEntry* entry)
{
    const std::unique_ptr<KxWMTileDataCacheEntry> owner(entry);
    std::unique_ptr<KxWMTileData> tile(entry == nullptr ? nullptr : entry->m_pTile);
    if (tile == nullptr)
        return;
    try {
        ThreadTilePins& pins = ThreadTilePins::OfThisThread();
        pins.Reserve();
        const TileAddress address{m_nId, tile->GetLevel(), tile->GetRow(), tile->GetCol()};
        const std::size_t bytes = tile->GetByteCount();
        std::shared_ptr<KxWMTileData> shared(std::move(tile));
        pins.Pin(shared);
        m_manager.m_store->Put(address, std::move(shared), bytes);
    } catch (...) {
        // The caller still uses the tile. Where it is not shared yet, the thread owns it alone.
        m_manager.KeepForThread(tile.release());
    }
}

KxWMTileDataCacheManager::KxWMTileDataCacheManager() : m_store(new Store) {}

KxWMTileDataCacheManager::~KxWMTileDataCacheManager()
{
    if (this != &m_gWMTileDataCacheManager)
        delete m_store;
}

KxWMTileDataCache* KxWMTileDataCacheManager::OpenCache(const KxString& hashKey)
try {
    {
        const std::shared_lock<std::shared_mutex> guard(m_store->m_cachesLock);
        const auto found = m_store->m_caches.find(ViewOf(hashKey));
        if (found != m_store->m_caches.end())
            return found->second.get();
    }
    const std::lock_guard<std::shared_mutex> guard(m_store->m_cachesLock);
    const auto id = static_cast<unsigned int>(m_store->m_caches.size());
    std::unique_ptr<KxWMTileDataCache> fresh(new KxWMTileDataCache(*this, id));
    return m_store->m_caches.try_emplace(std::string(ViewOf(hashKey)), std::move(fresh))
        .first->second.get();
} catch (...) {
    return nullptr;
}

void KxWMTileDataCacheManager::KeepForThread(KxWMTileData* tile)
{
    std::unique_ptr<KxWMTileData> owner(tile);
    if (owner != nullptr)
        ThreadTilePins::OfThisThread().Keep(std::move(owner));
}

void KxWMTileDataCacheManager::ReleaseThreadTiles()
{
    ThreadTilePins::OfThisThread().Release();
}

void KxWMTileDataCacheManager::SetBudget(std::size_t bytes)
{
    m_store->m_nBudget = bytes;
    m_store->KeepBudget();
}

std::size_t KxWMTileDataCacheManager::GetBudget() const
{
    return m_store->m_nBudget;
}

KxWMTileDataCacheStatistics KxWMTileDataCacheManager::GetStatistics() const
{
    KxWMTileDataCacheStatistics sum;
    for (const TileShard& shard : m_store->m_shards)
        shard.AddStatistics(sum);
    return sum;
}

void KxWMTileDataCacheManager::Clear()
{
    for (TileShard& shard : m_store->m_shards)
        m_store->m_nBytes -= static_cast<std::ptrdiff_t>(shard.Clear());
}

KxWMTileDataCacheManager m_gWMTileDataCacheManager;

} // namespace KxC
