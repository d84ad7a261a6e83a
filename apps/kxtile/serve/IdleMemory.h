// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <mutex>
#include <thread>

namespace KxTileHost::Serve {

/// Gives memory back that only work needs, once after each time of work, when there has been none
/// for a while. On a thread of its own.
class IdleMemory
{
public:
    struct Work
    {
        std::size_t m_begun = 0; ///< pieces, ever
        bool m_isGoingOn = false;
    };

    /// @param quiet    for how long there must have been no work; at most twice that passes
    /// @param work     tells of the work there is; any thread
    /// @param release  gives the memory back; must not throw
    IdleMemory(std::chrono::milliseconds quiet,
               std::function<Work()> work,
               std::function<void()> release);
    ~IdleMemory();
    IdleMemory(const IdleMemory&) = delete;
    IdleMemory& operator=(const IdleMemory&) = delete;

private:
    void Run();

    const std::chrono::milliseconds m_quiet;
    const std::function<Work()> m_work;
    const std::function<void()> m_release;
    std::mutex m_lock;
    std::condition_variable m_changed;
    bool m_ends = false;
    std::thread m_thread;
};

/// Keeps the allocator from having a heap for each of many threads, of which each keeps what it
/// once had, and rasters' blocks from taking a twentieth of all memory. To be called while the
/// program has one thread.
void LimitMemory();

/// Forgets decoded tiles, where the disk has them, too, and gives the system back what is free.
void ReleaseIdleMemory();

} // namespace KxTileHost::Serve
