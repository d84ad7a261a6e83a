// SPDX-License-Identifier: MIT
#pragma once

#include "KxWMTileDataCache.h"

#include <memory>
#include <vector>

namespace KxC {

/// The tiles that one thread was given and that live until it lets go of them. Each thread uses
/// its own; a tile's destructor may call back into the cache.
class ThreadTilePins
{
public:
    /// The calling thread's pins. They go when the thread ends; what is pinned after that, by
    /// destructors that run even later, stays for good rather than dangling.
    static ThreadTilePins& OfThisThread() noexcept;

    ThreadTilePins() = default;
    ThreadTilePins(const ThreadTilePins&) = delete;
    ThreadTilePins& operator=(const ThreadTilePins&) = delete;

    /// Makes sure that the next Pin needs no memory. Throws std::bad_alloc.
    void Reserve();
    /// Shares `tile`; call Reserve first.
    void Pin(std::shared_ptr<KxWMTileData> tile) noexcept;
    /// Takes over a tile that nobody else owns.
    void Keep(std::unique_ptr<KxWMTileData> tile) noexcept;
    void Release() noexcept;
    /// Release, and gives the list's own memory back.
    void ReleaseForGood() noexcept;

private:
    void DropRepeats();
    void ReleaseKept() noexcept;

    std::vector<std::shared_ptr<KxWMTileData>> m_shared;
    KxWMTileData* m_pKept = nullptr;
};

} // namespace KxC
