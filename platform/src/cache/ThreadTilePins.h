// SPDX-License-Identifier: MIT
#pragma once

#include "TileEntry.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>

namespace KxC {

/// The tiles that one thread was given and that live until it lets go of them. Each thread uses
/// its own; a tile's destructor may call back into the cache. What is pinned stands where all
/// threads can look for it, so that whoever removes an entry knows whether it may go at once;
/// pinning writes the thread's own memory only.
class ThreadTilePins
{
public:
    /// The calling thread's pins. They end with the thread.
    static ThreadTilePins& OfThisThread() noexcept;

    ThreadTilePins() = default;
    ThreadTilePins(const ThreadTilePins&) = delete;
    ThreadTilePins& operator=(const ThreadTilePins&) = delete;

    /// Makes sure that the next two Pins need no memory. Throws std::bad_alloc.
    /// @return false when the thread is ending: nothing can be pinned any more
    bool Reserve();
    /// From now until Release, `entry` is not destroyed, unless it is already out of its table by
    /// then: look there again. Call Reserve first.
    void Pin(TileEntry* entry) noexcept;
    /// Takes over a tile that nobody else owns. After the thread's end it stays for good rather
    /// than dangling.
    void Keep(std::unique_ptr<KxWMTileData> tile) noexcept;
    void Release() noexcept;

    /// Destroys the entries of a list, each as soon as no thread has it pinned. They must be out of
    /// every table, and the caller must hold no lock that a tile's destructor could want.
    static void Retire(TileEntry* list) noexcept;

private:
    friend struct EndOfThread;

    static constexpr std::size_t kFirstPlaces = 64;

    /// A set of pinned entries with open addressing, at most half full. The owner alone changes it.
    struct Set
    {
        std::atomic<TileEntry*>* m_places;
        std::size_t m_nMask;
        std::uint32_t* m_used; ///< the places in use, the owner's own
        std::size_t m_nUsed;
        Set* m_pOlder; ///< the one that it took over from, still holding what it held
    };
    struct OwnedSet;

    void Begin() noexcept;
    void End() noexcept;
    void Grow();
    void Unpin() noexcept;
    void DropGrownSets() noexcept;
    void ReleaseKept() noexcept;

    bool Holds(const TileEntry& entry) const noexcept;
    void PushWard(TileEntry& entry) noexcept;
    TileEntry* TakeWards() noexcept;
    static ThreadTilePins* FindHolder(const TileEntry& entry) noexcept;
    static TileEntry* TakeUnpinned(TileEntry* list) noexcept;

    std::array<std::atomic<TileEntry*>, kFirstPlaces> m_firstPlaces{};
    std::array<std::uint32_t, kFirstPlaces / 2> m_firstUsed{};
    Set m_first{m_firstPlaces.data(), kFirstPlaces - 1, m_firstUsed.data(), 0, nullptr};
    std::atomic<Set*> m_newest{&m_first};
    bool m_pinned = false;
    bool m_ended = false;
    /// Removed entries that this thread has pinned: it destroys them when it lets go.
    std::atomic<TileEntry*> m_wards{nullptr};
    KxWMTileData* m_pKept = nullptr;
    ThreadTilePins* m_pNext = nullptr; ///< in the list of all threads' pins
};

} // namespace KxC
