// SPDX-License-Identifier: MIT
#include "TileStore.h"

#include "ThreadTilePins.h"

namespace KxC {

namespace {

std::size_t NumberOfThisThread()
{
    static constinit std::atomic<std::size_t> s_next{0};
    thread_local const std::size_t t_number = s_next.fetch_add(1, std::memory_order_relaxed);
    return t_number;
}

} // namespace

TileStore::~TileStore()
{
    Clear();
}

KxWMTileData* TileStore::Find(const TileAddress& address)
{
    ThreadTilePins& pins = ThreadTilePins::OfThisThread();
    if (!pins.Reserve())
        return nullptr;
    const std::uint64_t hash = HashOf(address);
    TileEntry* entry = m_table.FindAndPin(address, hash, pins);
    if (entry == nullptr)
        entry = FindWithLock(address, hash, pins);
    Counts& counts = CountsOfThisThread();
    (entry == nullptr ? counts.m_nMisses : counts.m_nHits).fetch_add(1, std::memory_order_relaxed);
    if (entry == nullptr)
        return nullptr;
    Touch(*entry);
    return entry->m_tile.get();
}

TileEntry*
TileStore::FindWithLock(const TileAddress& address, std::uint64_t hash, ThreadTilePins& pins)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    TileEntry* const entry = m_table.Find(address, hash);
    if (entry != nullptr)
        pins.Pin(entry);
    return entry;
}

TileStore::Counts& TileStore::CountsOfThisThread()
{
    return m_counts[NumberOfThisThread() % m_counts.size()];
}

void TileStore::Touch(TileEntry& entry) const
{
    const std::uint64_t now = m_nClock.load(std::memory_order_relaxed) + 1;
    if (entry.m_nUse.load(std::memory_order_relaxed) != now)
        entry.m_nUse.store(now, std::memory_order_relaxed);
}

void TileStore::Add(const TileAddress& address, std::unique_ptr<KxWMTileData> tile) noexcept
{
    bool added = false;
    try {
        added = TryAdd(address, tile);
    } catch (...) {
        added = false; // the caller still uses the tile
    }
    if (added)
        return;
    Forget(address);
    ThreadTilePins::OfThisThread().Keep(std::move(tile));
}

/// @return false when the tile stays with the caller
bool TileStore::TryAdd(const TileAddress& address, std::unique_ptr<KxWMTileData>& tile)
{
    ThreadTilePins& pins = ThreadTilePins::OfThisThread();
    const std::size_t bytes = tile->GetByteCount();
    if (bytes > m_nBudget || !pins.Reserve())
        return false;
    auto fresh = std::make_unique<TileEntry>(address, bytes);
    pins.Pin(fresh.get());
    TileEntry* gone = nullptr;
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        Insert(std::move(fresh), tile, gone);
        KeepBudget(gone);
    }
    ThreadTilePins::Retire(gone);
    return true;
}

/// Whatever throws does so before anything has changed.
void TileStore::Insert(std::unique_ptr<TileEntry> fresh,
                       std::unique_ptr<KxWMTileData>& tile,
                       TileEntry*& gone)
{
    TileEntry& entry = *fresh;
    m_table.Reserve();
    entry.m_nKnownUse = m_nClock.load(std::memory_order_relaxed) + 2;
    m_order.emplace(entry.m_nKnownUse, &entry);
    m_nClock.store(entry.m_nKnownUse, std::memory_order_relaxed);
    entry.m_nUse.store(entry.m_nKnownUse, std::memory_order_relaxed);
    entry.m_tile = std::move(tile);
    m_nBytes += entry.m_nBytes;
    TileEntry* const replaced = m_table.Put(*fresh.release());
    if (replaced != nullptr)
        TakeOutOfOrder(*replaced, gone);
}

void TileStore::Forget(const TileAddress& address)
{
    TileEntry* gone = nullptr;
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        TileEntry* const entry = m_table.Find(address, HashOf(address));
        if (entry != nullptr)
            Remove(*entry, gone);
    }
    ThreadTilePins::Retire(gone);
}

void TileStore::Remove(TileEntry& entry, TileEntry*& gone)
{
    m_table.Remove(entry);
    TakeOutOfOrder(entry, gone);
}

void TileStore::TakeOutOfOrder(TileEntry& entry, TileEntry*& gone)
{
    m_order.erase({entry.m_nKnownUse, &entry});
    m_nBytes -= entry.m_nBytes;
    entry.m_pNext = gone;
    gone = &entry;
}

/// The least recently used entry. Those that were used since they were put in order are put where
/// they belong now; each needs that once, however often it was used.
TileEntry& TileStore::Oldest()
{
    for (;;) {
        TileEntry& entry = *m_order.begin()->second;
        const std::uint64_t use = entry.m_nUse.load(std::memory_order_relaxed);
        if (use == entry.m_nKnownUse)
            return entry;
        Order::node_type node = m_order.extract(m_order.begin());
        entry.m_nKnownUse = use;
        node.value().first = use;
        m_order.insert(std::move(node));
    }
}

void TileStore::KeepBudget(TileEntry*& gone)
{
    while (m_nBytes > m_nBudget)
        Remove(Oldest(), gone);
}

void TileStore::SetBudget(std::size_t bytes)
{
    TileEntry* gone = nullptr;
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_nBudget = bytes;
        KeepBudget(gone);
    }
    ThreadTilePins::Retire(gone);
}

std::size_t TileStore::GetBudget() const
{
    return m_nBudget;
}

KxWMTileDataCacheStatistics TileStore::GetStatistics() const
{
    KxWMTileDataCacheStatistics sum;
    for (const Counts& counts : m_counts) {
        sum.m_nHits += counts.m_nHits.load(std::memory_order_relaxed);
        sum.m_nMisses += counts.m_nMisses.load(std::memory_order_relaxed);
    }
    Fill(sum);
    return sum;
}

KxWMTileDataCacheStatistics TileStore::GetThreadStatistics() const
{
    const Counts& counts = m_counts[NumberOfThisThread() % m_counts.size()];
    KxWMTileDataCacheStatistics own;
    own.m_nHits = counts.m_nHits.load(std::memory_order_relaxed);
    own.m_nMisses = counts.m_nMisses.load(std::memory_order_relaxed);
    Fill(own);
    return own;
}

void TileStore::Fill(KxWMTileDataCacheStatistics& statistics) const
{
    const std::lock_guard<std::mutex> guard(m_lock);
    statistics.m_nTiles = m_order.size();
    statistics.m_nBytes = m_nBytes;
}

void TileStore::Clear()
{
    TileEntry* gone = nullptr;
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        while (!m_order.empty())
            Remove(*m_order.begin()->second, gone);
    }
    ThreadTilePins::Retire(gone);
}

} // namespace KxC
