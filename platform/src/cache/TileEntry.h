// SPDX-License-Identifier: MIT
#pragma once

#include "KxWMTileDataCache.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>

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

/// Never 0, which marks a free place of the table.
std::uint64_t HashOf(const TileAddress& address) noexcept;

/// A tile in the memory cache. Once it is in the table, any thread may read the address and the
/// tile and set the time of use; the rest belongs to the store's lock, and from the entry's removal
/// on to the pins.
struct TileEntry
{
    TileEntry(const TileAddress& address, std::size_t bytes)
        : m_address(address), m_hash(HashOf(address)), m_nBytes(bytes)
    {
    }

    const TileAddress m_address;
    const std::uint64_t m_hash;
    const std::size_t m_nBytes;
    std::unique_ptr<KxWMTileData> m_tile;
    std::atomic<std::uint64_t> m_nUse{0}; ///< on the store's clock
    std::uint64_t m_nKnownUse = 0;        ///< by which the store has it in order
    TileEntry* m_pNext = nullptr;         ///< in a list of removed ones
};

} // namespace KxC
