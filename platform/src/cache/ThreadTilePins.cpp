// SPDX-License-Identifier: MIT
#include "ThreadTilePins.h"

#include <algorithm>
#include <cstddef>
#include <new>
#include <utility>

namespace KxC {

namespace {

constexpr std::size_t kFirstCapacity = 64;
/// A list that one large mosaic has stretched beyond this is not kept for the next operation.
constexpr std::size_t kCapacityToKeep = 4096;

/// Room for the thread's pins, so that making them needs no memory. They are never destroyed: other
/// destructors of the same thread may still ask for them.
alignas(ThreadTilePins) thread_local std::byte t_room[sizeof(ThreadTilePins)];
thread_local ThreadTilePins* t_pins = nullptr;

/// Lets go of the thread's tiles at its end.
struct EndOfThread
{
    void Arm() const {}
    ~EndOfThread() { t_pins->ReleaseForGood(); }
};

thread_local EndOfThread t_endOfThread;

} // namespace

ThreadTilePins& ThreadTilePins::OfThisThread() noexcept
{
    if (t_pins == nullptr) {
        t_pins = new (t_room) ThreadTilePins;
        t_endOfThread.Arm();
    }
    return *t_pins;
}

void ThreadTilePins::Reserve()
{
    if (m_shared.size() < m_shared.capacity())
        return;
    DropRepeats();
    // At least half of the room is free afterwards, so that sorting stays rare.
    if (m_shared.size() * 2 >= m_shared.capacity())
        m_shared.reserve(std::max(kFirstCapacity, m_shared.capacity() * 2));
}

void ThreadTilePins::Pin(std::shared_ptr<KxWMTileData> tile) noexcept
{
    if (m_shared.empty() || m_shared.back() != tile)
        m_shared.push_back(std::move(tile));
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
    std::vector<std::shared_ptr<KxWMTileData>> released;
    released.swap(m_shared);
    released.clear();
    if (m_shared.capacity() == 0 && released.capacity() <= kCapacityToKeep)
        m_shared.swap(released);
    ReleaseKept();
}

void ThreadTilePins::ReleaseForGood() noexcept
{
    Release();
    m_shared.shrink_to_fit();
}

void ThreadTilePins::DropRepeats()
{
    std::sort(m_shared.begin(), m_shared.end());
    m_shared.erase(std::unique(m_shared.begin(), m_shared.end()), m_shared.end());
}

void ThreadTilePins::ReleaseKept() noexcept
{
    KxWMTileData* tile = std::exchange(m_pKept, nullptr);
    while (tile != nullptr)
        delete std::exchange(tile, tile->m_pNextKept);
}

} // namespace KxC
