// SPDX-License-Identifier: MIT
#include "serve/IdleMemory.h"

#include "KxTileFetcher.h"
#include "KxWMTileDataCache.h"

#include <malloc.h>

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace KxTileHost::Serve {

namespace {

constexpr int kUnlessSet = 0;

} // namespace

IdleMemory::IdleMemory(std::chrono::milliseconds quiet,
                       std::function<Work()> work,
                       std::function<void()> release)
    : m_quiet(quiet), m_work(std::move(work)), m_release(std::move(release)),
      m_thread([this] { Run(); })
{
}

IdleMemory::~IdleMemory()
{
    {
        const std::lock_guard guard(m_lock);
        m_ends = true;
        m_changed.notify_all();
    }
    m_thread.join();
}

void IdleMemory::Run()
{
    std::size_t seen = 0;     // pieces that had begun when it last looked
    std::size_t released = 0; // and when it last gave memory back
    std::unique_lock guard(m_lock);
    while (!m_changed.wait_for(guard, m_quiet, [this] { return m_ends; })) {
        const Work work = m_work();
        const bool isQuiet = !work.m_isGoingOn && work.m_begun == seen;
        seen = work.m_begun;
        if (!isQuiet || released == seen)
            continue;
        released = seen;
        m_release();
    }
}

void LimitMemory()
{
    // Megabytes. With less, tiles of a picture that is compressed in strips take twice as long.
    ::setenv("GDAL_CACHEMAX", "128", kUnlessSet);
#ifdef M_ARENA_MAX
    constexpr int kAtLeast = 4;
    ::mallopt(M_ARENA_MAX,
              std::max(kAtLeast, static_cast<int>(std::thread::hardware_concurrency())));
#endif
}

void ReleaseIdleMemory()
{
    // Without the disk cache they are all that is kept of the services' tiles.
    if (KxC::KxTileFetcher::m_sbLocalCacheUsed != 0)
        KxC::m_gWMTileDataCacheManager.Clear();
#ifdef M_ARENA_MAX // where malloc_trim is, too
    ::malloc_trim(0);
#endif
}

} // namespace KxTileHost::Serve
