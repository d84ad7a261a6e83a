// SPDX-License-Identifier: MIT
#include "ThreadTilePins.h"

#include <cstdint>
#include <mutex>
#include <new>
#include <utility>

namespace KxC {

namespace {

/// Sets that one large mosaic has stretched beyond this are not kept for the next operation.
constexpr std::size_t kPlacesToKeep = 8192;

/// Guards the list of all threads' pins. Constant at start and never destroyed: threads may begin
/// before and end after everything else of the process.
constinit std::mutex s_lock;
constinit ThreadTilePins* s_threads = nullptr;

/// Room for the thread's pins, so that making them needs no memory.
alignas(ThreadTilePins) thread_local std::byte t_room[sizeof(ThreadTilePins)];
thread_local ThreadTilePins* t_pins = nullptr;

std::size_t FirstIndex(const TileEntry* entry)
{
    // Entries come from the allocator: their low bits are all alike.
    return (reinterpret_cast<std::uintptr_t>(entry) * 0x9E3779B97F4A7C15U) >> 32U;
}

void Push(TileEntry*& list, TileEntry* entry)
{
    entry->m_pNext = list;
    list = entry;
}

TileEntry* Pop(TileEntry*& list)
{
    TileEntry* const entry = list;
    list = entry->m_pNext;
    return entry;
}

} // namespace

/// Lets go of the thread's tiles at its end.
struct EndOfThread
{
    void Arm() const {}
    ~EndOfThread() { t_pins->End(); }
};

namespace {
thread_local EndOfThread t_endOfThread;
} // namespace

ThreadTilePins& ThreadTilePins::OfThisThread() noexcept
{
    if (t_pins == nullptr) {
        t_pins = new (t_room) ThreadTilePins;
        t_pins->Begin();
        t_endOfThread.Arm();
    }
    return *t_pins;
}

void ThreadTilePins::Begin() noexcept
{
    const std::lock_guard<std::mutex> guard(s_lock);
    m_pNext = std::exchange(s_threads, this);
}

void ThreadTilePins::End() noexcept
{
    m_ended = true;
    Release();
    {
        const std::lock_guard<std::mutex> guard(s_lock);
        ThreadTilePins** link = &s_threads;
        while (*link != this)
            link = &(*link)->m_pNext;
        *link = m_pNext;
    }
    Retire(TakeWards());
    DropGrownSets();
}

bool ThreadTilePins::Reserve()
{
    if (m_ended)
        return false;
    const Set& set = *m_newest.load(std::memory_order_relaxed);
    if ((set.m_nUsed + 2) * 2 > set.m_nMask + 1)
        Grow();
    return true;
}

/// A set with its memory.
struct ThreadTilePins::OwnedSet : Set
{
    OwnedSet(std::size_t count, Set* older)
        : Set{}, m_ownedPlaces(new std::atomic<TileEntry*>[count]()),
          m_ownedUsed(new std::uint32_t[count / 2])
    {
        m_places = m_ownedPlaces.get();
        m_nMask = count - 1;
        m_used = m_ownedUsed.get();
        m_pOlder = older;
    }

    std::unique_ptr<std::atomic<TileEntry*>[]> m_ownedPlaces;
    std::unique_ptr<std::uint32_t[]> m_ownedUsed;
};

void ThreadTilePins::Grow()
{
    Set* const older = m_newest;
    m_newest = new OwnedSet((older->m_nMask + 1) * 2, older);
}

void ThreadTilePins::Pin(TileEntry* entry) noexcept
{
    Set& set = *m_newest.load(std::memory_order_relaxed);
    for (std::size_t i = FirstIndex(entry);; ++i) {
        std::atomic<TileEntry*>& place = set.m_places[i & set.m_nMask];
        const TileEntry* const held = place.load(std::memory_order_relaxed);
        if (held == entry)
            return;
        if (held != nullptr)
            continue;
        place = entry; // sequentially consistent: see TileTable.cpp
        set.m_used[set.m_nUsed++] = static_cast<std::uint32_t>(i & set.m_nMask);
        m_pinned = true;
        return;
    }
}

void ThreadTilePins::Keep(std::unique_ptr<KxWMTileData> tile) noexcept
{
    if (tile == nullptr)
        return;
    tile->m_pNextKept = m_pKept;
    m_pKept = tile.release();
}

void ThreadTilePins::Release() noexcept
{
    if (m_pinned)
        Unpin();
    ReleaseKept();
}

void ThreadTilePins::Unpin() noexcept
{
    m_pinned = false;
    for (Set* set = m_newest; set != nullptr; set = set->m_pOlder)
        for (; set->m_nUsed > 0; --set->m_nUsed)
            set->m_places[set->m_used[set->m_nUsed - 1]].store(nullptr, std::memory_order_release);
    if (m_newest.load()->m_nMask >= kPlacesToKeep)
        DropGrownSets();
    if (TileEntry* const wards = TakeWards())
        Retire(wards);
}

void ThreadTilePins::DropGrownSets() noexcept
{
    const std::lock_guard<std::mutex> guard(s_lock); // others may be looking into them
    Set* set = m_newest.exchange(&m_first);
    while (set != &m_first)
        delete static_cast<OwnedSet*>(std::exchange(set, set->m_pOlder));
}

void ThreadTilePins::ReleaseKept() noexcept
{
    KxWMTileData* tile = std::exchange(m_pKept, nullptr);
    while (tile != nullptr)
        delete std::exchange(tile, tile->m_pNextKept);
}

/// Whether `entry` is pinned; any thread, under s_lock. A search from its first place to a free one
/// is enough: places are freed all at once, when the thread lets go of everything.
bool ThreadTilePins::Holds(const TileEntry& entry) const noexcept
{
    for (const Set* set = m_newest; set != nullptr; set = set->m_pOlder) {
        const std::size_t first = FirstIndex(&entry);
        for (std::size_t i = 0; i <= set->m_nMask; ++i) {
            const TileEntry* const held = set->m_places[(first + i) & set->m_nMask];
            if (held == &entry)
                return true;
            if (held == nullptr)
                break;
        }
    }
    return false;
}

void ThreadTilePins::PushWard(TileEntry& entry) noexcept
{
    entry.m_pNext = m_wards;
    while (!m_wards.compare_exchange_weak(entry.m_pNext, &entry)) {
    }
}

TileEntry* ThreadTilePins::TakeWards() noexcept
{
    return m_wards.exchange(nullptr);
}

ThreadTilePins* ThreadTilePins::FindHolder(const TileEntry& entry) noexcept
{
    ThreadTilePins* thread = s_threads;
    while (thread != nullptr && !thread->Holds(entry))
        thread = thread->m_pNext;
    return thread;
}

/// Hands the entries that a thread has pinned to that thread. Under s_lock.
/// @return the others
TileEntry* ThreadTilePins::TakeUnpinned(TileEntry* list) noexcept
{
    TileEntry* unpinned = nullptr;
    while (list != nullptr) {
        TileEntry* const entry = Pop(list);
        ThreadTilePins* const holder = FindHolder(*entry);
        if (holder == nullptr) {
            Push(unpinned, entry);
            continue;
        }
        holder->PushWard(*entry);
        if (holder->Holds(*entry))
            continue;
        // It has let go meanwhile, perhaps without seeing its new ward: what it has not taken is
        // looked at again.
        TileEntry* wards = holder->TakeWards();
        while (wards != nullptr)
            Push(list, Pop(wards));
    }
    return unpinned;
}

void ThreadTilePins::Retire(TileEntry* list) noexcept
{
    if (list == nullptr)
        return;
    {
        const std::lock_guard<std::mutex> guard(s_lock);
        list = TakeUnpinned(list);
    }
    while (list != nullptr)
        delete Pop(list);
}

} // namespace KxC
