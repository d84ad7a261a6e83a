// SPDX-License-Identifier: MIT
#pragma once

#include "serve/Answer.h"
#include "serve/WorkQueue.h"

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace KxTileHost::Serve {

/// Does work on threads of its own, each piece once however many wait for it. What is to be done
/// lies in lanes, one for each source: lanes take turns, and one that does not deliver leaves
/// threads and places in the queue to the others.
class WorkPool
{
public:
    using Work = std::function<AnswerPtr()>;
    using Clock = std::chrono::steady_clock;

    struct Limits
    {
        int m_threads = 4;                       ///< pieces at a time, but for slow ones
        std::size_t m_queue = 1000;              ///< pieces that wait for a thread
        std::chrono::milliseconds m_wait{30000}; ///< after which a waiter is told that it is late
        /// Work that runs longer waits for a service that does not deliver, and takes no processor:
        /// a few threads more stand in for those that do it.
        std::chrono::milliseconds m_slow{2000};
    };
    struct Counts
    {
        std::size_t m_waiting = 0; ///< pieces
        std::size_t m_running = 0;
        std::size_t m_begun = 0; ///< ever
    };

    enum class Admission {
        Taken,
        Full,  ///< too much waits already
        Ending ///< no more work is taken
    };

    explicit WorkPool(const Limits& limits);
    /// Stop must have been called, and have answered true.
    ~WorkPool();
    WorkPool(const WorkPool&) = delete;
    WorkPool& operator=(const WorkPool&) = delete;

    /// Has the work done, or joins who waits for the same. The waiter is answered later, perhaps
    /// before this returns. Where the queue is full, a lane that holds less of it than another
    /// takes the place of that one's newest piece, which is refused.
    /// @param key   the same for the same work
    /// @return whether it is taken; the waiter is not answered when it is not
    Admission Submit(const std::string& key, const std::string& lane, Work work, Waiter& waiter);

    Counts GetCounts() const;

    /// Takes no more work and waits for what there is; whoever still waits at the end is refused.
    /// @return whether every thread is done; else they must not be waited for
    bool Stop(Clock::time_point deadline);

private:
    using JobPtr = WorkQueue::JobPtr;

    void Run();
    std::vector<Waiter*> Remove(const JobPtr& job);
    void WatchDeadlines();
    std::vector<Waiter*> TakeLate(Clock::time_point now);
    std::vector<Waiter*> TakeUnwanted();
    std::vector<Waiter*> TakeAll();

    const Limits m_limits;
    mutable std::mutex m_lock;
    std::condition_variable m_hasWork;
    std::condition_variable m_isIdle;
    std::condition_variable m_hasStopped;
    WorkQueue m_queue;
    bool m_isStopping = false;
    bool m_hasEnded = false;
    std::vector<std::thread> m_threads;
    std::thread m_watch;
};

} // namespace KxTileHost::Serve
