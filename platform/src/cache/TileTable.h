// SPDX-License-Identifier: MIT
#pragma once

#include "TileEntry.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace KxC {

class ThreadTilePins;

/// Finds entries by address: a hash table with open addressing, at most half full. One thread at a
/// time changes it, under its owner's lock; any other may ask meanwhile, without a lock.
class TileTable
{
public:
    TileTable();

    /// Pins the entry at `address` for the calling thread. While others change the table it may
    /// miss what is there; under the owner's lock it does not.
    /// @param pins  of the calling thread, with room for one entry for each place that may look
    ///              alike: after ThreadTilePins::Reserve
    /// @return null when it was not found
    TileEntry*
    FindAndPin(const TileAddress& address, std::uint64_t hash, ThreadTilePins& pins) const noexcept;

    // The rest under the owner's lock.

    TileEntry* Find(const TileAddress& address, std::uint64_t hash) const noexcept;
    /// Makes room for one more entry. Throws std::bad_alloc and leaves everything as it was.
    void Reserve();
    /// Puts `entry` at its address, for which Reserve made room.
    /// @return the entry that it replaces, or null
    TileEntry* Put(TileEntry& entry) noexcept;
    /// Takes `entry`, which must be here, out.
    void Remove(const TileEntry& entry) noexcept;

private:
    struct Place
    {
        std::atomic<std::uint64_t> m_hash{0};
        std::atomic<TileEntry*> m_entry{nullptr};
    };
    struct Places
    {
        explicit Places(std::size_t count) : m_places(new Place[count]), m_nMask(count - 1) {}
        Place& At(std::uint64_t index) const { return m_places[index & m_nMask]; }

        std::unique_ptr<Place[]> m_places;
        std::size_t m_nMask;
    };

    static void Set(Place& place, std::uint64_t hash, TileEntry* entry) noexcept;
    static std::uint64_t FreeIndex(const Places& places, std::uint64_t hash) noexcept;
    std::uint64_t IndexOf(const TileAddress& address, std::uint64_t hash) const noexcept;

    /// Smaller tables that were outgrown stay, together no larger than the present one: threads may
    /// still be reading in them.
    std::vector<std::unique_ptr<Places>> m_all;
    std::atomic<const Places*> m_current;
    std::size_t m_nEntries = 0;
};

} // namespace KxC
