// SPDX-License-Identifier: MIT
#pragma once

#include "KxCommonExport.h"
#include "KxImageData.h"
#include "KxString.h"

#include <cstddef>
#include <memory>

namespace KxC {

/// A tile in memory; rows count from the south.
class KXCOMMON_API KxWMTileData
{
public:
    KxWMTileData(int level, int row, int col);
    virtual ~KxWMTileData();
    KxWMTileData(const KxWMTileData&) = delete;
    KxWMTileData& operator=(const KxWMTileData&) = delete;

    int GetLevel() const;
    int GetRow() const;
    int GetCol() const;
    /// Bytes that the tile takes from the memory cache's budget.
    virtual std::size_t GetByteCount() const;

private:
    friend class ThreadTilePins;

    int m_nLevel;
    int m_nRow;
    int m_nCol;
    /// Links the tiles that one thread alone owns, so that keeping one needs no memory.
    KxWMTileData* m_pNextKept = nullptr;
};

/// A decoded tile. A null image means that the server has no data there.
class KXCOMMON_API KxWMImageTileData : public KxWMTileData
{
public:
    /// Takes `image` over.
    KxWMImageTileData(int level, int row, int col, KxImageData* image);
    ~KxWMImageTileData() override;

    /// Still owned by the tile; may be null.
    KxImageData* GetImage() const;
    std::size_t GetByteCount() const override;

private:
    std::unique_ptr<KxImageData> m_image;
};

/// What is handed to the cache, which owns it and its tile from then on.
struct KxWMTileDataCacheEntry
{
    double m_dTime; ///< clock() ticks when the entry was made
    KxWMTileData* m_pTile;
};

/// What the memory cache did since the process started, and what it holds.
struct KxWMTileDataCacheStatistics
{
    unsigned long long m_nHits = 0;
    unsigned long long m_nMisses = 0;
    std::size_t m_nTiles = 0;
    std::size_t m_nBytes = 0;
};

class KxWMTileDataCacheManager;

/// The tiles of one source. Owned by the manager; any thread.
class KXCOMMON_API KxWMTileDataCache
{
public:
    /// @return the cached tile, or null. It stays valid until the calling thread's next
    ///         ReleaseThreadTiles, whatever other threads replace or evict meanwhile.
    KxWMTileData* AccessTileData(int level, int row, int col);

    /// Takes `entry` and its tile; a tile already there at the address is replaced. The tile stays
    /// valid for the calling thread as with AccessTileData.
    void AddToCache(KxWMTileDataCacheEntry* entry);

private:
    friend class KxWMTileDataCacheManager;
    KxWMTileDataCache(KxWMTileDataCacheManager& manager, unsigned int id);

    KxWMTileDataCacheManager& m_manager;
    unsigned int m_nId;
};

/// The memory tile cache: least recently used tiles of all sources leave first when their bytes
/// exceed the budget. Any thread.
class KXCOMMON_API KxWMTileDataCacheManager
{
public:
    static constexpr std::size_t kDefaultBudget = 256U << 20; ///< bytes

    KxWMTileDataCacheManager();
    ~KxWMTileDataCacheManager();
    KxWMTileDataCacheManager(const KxWMTileDataCacheManager&) = delete;
    KxWMTileDataCacheManager& operator=(const KxWMTileDataCacheManager&) = delete;

    /// The cache of one source, made on first use; valid as long as the manager.
    /// @return null when there is no memory for it
    KxWMTileDataCache* OpenCache(const KxString& hashKey);

    /// Takes a tile over without caching it; it stays valid for the calling thread as with
    /// AccessTileData.
    void KeepForThread(KxWMTileData* tile);
    /// Ends the calling thread's hold on the tiles it was given.
    void ReleaseThreadTiles();

    void SetBudget(std::size_t bytes);
    std::size_t GetBudget() const;
    KxWMTileDataCacheStatistics GetStatistics() const;
    /// The same with the calling thread's own hits and misses, so that a host can tell whether an
    /// operation found all its tiles. Threads beyond the first 64 share their counts with others.
    KxWMTileDataCacheStatistics GetThreadStatistics() const;
    /// Forgets every tile; those that a thread still holds live on until it lets go.
    void Clear();

private:
    friend class KxWMTileDataCache;
    struct Store;
    /// The global manager's store is never destroyed: threads may still run while a process exits.
    Store* m_store = nullptr;
};

KXCOMMON_API extern KxWMTileDataCacheManager m_gWMTileDataCacheManager;

} // namespace KxC
