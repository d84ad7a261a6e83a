// SPDX-License-Identifier: MIT
#pragma once

#include "TileEntry.h"
#include "TileTable.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <set>
#include <utility>

namespace KxC {

class ThreadTilePins;

/// The tiles of the memory cache, bounded in bytes; the least recently used ones leave first. Any
/// thread. A hit takes no lock and, unless the tile is used for the first time since the last
/// addition, writes nothing that other threads read.
class TileStore
{
public:
    ~TileStore();

    /// The tile at the address, pinned for the calling thread, or null. Throws std::bad_alloc.
    KxWMTileData* Find(const TileAddress& address);
    /// Puts `tile` in and pins it for the calling thread. Where it does not fit, where memory runs
    /// out and at the thread's end, the thread alone keeps it, and the address has none.
    void Add(const TileAddress& address, std::unique_ptr<KxWMTileData> tile) noexcept;
    void SetBudget(std::size_t bytes);
    std::size_t GetBudget() const;
    KxWMTileDataCacheStatistics GetStatistics() const;
    KxWMTileDataCacheStatistics GetThreadStatistics() const;
    void Clear();

private:
    /// Entries by the use that was known when they were put here; hits do not move them.
    using Order = std::set<std::pair<std::uint64_t, TileEntry*>>;

    /// Counts of some of the threads, so that counting stays within a processor's own memory.
    struct alignas(64) Counts
    {
        std::atomic<unsigned long long> m_nHits{0};
        std::atomic<unsigned long long> m_nMisses{0};
    };

    TileEntry* FindWithLock(const TileAddress& address, std::uint64_t hash, ThreadTilePins& pins);
    Counts& CountsOfThisThread();
    void Fill(KxWMTileDataCacheStatistics& statistics) const;
    void Touch(TileEntry& entry) const;
    bool TryAdd(const TileAddress& address, std::unique_ptr<KxWMTileData>& tile);
    void
    Insert(std::unique_ptr<TileEntry> fresh, std::unique_ptr<KxWMTileData>& tile, TileEntry*& gone);
    void Forget(const TileAddress& address);
    void Remove(TileEntry& entry, TileEntry*& gone);
    void TakeOutOfOrder(TileEntry& entry, TileEntry*& gone);
    TileEntry& Oldest();
    void KeepBudget(TileEntry*& gone);

    TileTable m_table;
    std::atomic<std::size_t> m_nBudget{KxWMTileDataCacheManager::kDefaultBudget};
    /// Grows by two with each addition: what is used after the n-th one was used at 2n + 1.
    alignas(64) std::atomic<std::uint64_t> m_nClock{0};

    alignas(64) mutable std::mutex m_lock;
    Order m_order;
    std::size_t m_nBytes = 0;

    std::array<Counts, 64> m_counts;
};

} // namespace KxC
