// SPDX-License-Identifier: MIT
#pragma once

#include "KxWMTileDataCache.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <unordered_map>

namespace KxC {

/// Where a tile stands in the memory cache.
struct TileAddress
{
    unsigned int m_nCache;
    int m_nLevel;
    int m_nRow;
    int m_nCol;

    bool operator==(const TileAddress&) const = default;
};

struct TileAddressHash
{
    std::size_t operator()(const TileAddress& address) const noexcept;
};

/// A part of the memory cache with a lock of its own: a hash map whose entries are linked from the
/// most to the least recently used. Any thread. Tiles are never destroyed under the lock.
class alignas(64) TileShard
{
public:
    TileShard();
    ~TileShard();
    TileShard(const TileShard&) = delete;
    TileShard& operator=(const TileShard&) = delete;

    /// The tile, now the most recently used one; null when it is not here.
    std::shared_ptr<KxWMTileData> Find(const TileAddress& address);
    /// Puts `tile` in, in place of what was at the address. Throws std::bad_alloc.
    /// @return by how many bytes the shard has grown, negative when it shrank
    std::ptrdiff_t
    Put(const TileAddress& address, std::shared_ptr<KxWMTileData> tile, std::size_t bytes);
    /// Each answers how many bytes have gone.
    std::size_t Remove(const TileAddress& address);
    std::size_t RemoveOldest();
    std::size_t Clear();

    /// When the least recently used tile was used last; the largest number when there is none.
    std::uint64_t GetOldestUse() const;
    void AddStatistics(KxWMTileDataCacheStatistics& sum) const;

private:
    struct Link
    {
        Link* m_pNewer = nullptr;
        Link* m_pOlder = nullptr;
    };
    struct Entry : Link
    {
        TileAddress m_address{};
        std::shared_ptr<KxWMTileData> m_tile;
        std::size_t m_nBytes = 0;
        std::uint64_t m_nUse = 0;
    };
    using Map = std::unordered_map<TileAddress, Entry, TileAddressHash>;

    static void Unlink(Link& link);
    void LinkNewest(Link& link);
    void Touch(Entry& entry);
    Map::node_type Take(const TileAddress& address);

    // What every hit writes comes first, in one cache line; the rest stays with all processors.
    mutable std::mutex m_lock;
    Link m_ends; ///< its older neighbour is the newest entry, its newer one the oldest
    unsigned long long m_nHits = 0;
    Map m_entries;
    std::size_t m_nBytes = 0;
    unsigned long long m_nMisses = 0;
};

} // namespace KxC
