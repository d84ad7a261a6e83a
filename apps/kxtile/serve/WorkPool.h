// SPDX-License-Identifier: MIT
#pragma once

#include "serve/Answer.h"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

namespace KxTileHost::Serve {

/// Whoever waits for a piece of work. It lives until it has been answered.
class Waiter
{
public:
    virtual ~Waiter() = default;
    /// Called once, by any thread, without locks held.
    virtual void TakeAnswer(AnswerPtr answer) noexcept = 0;
    /// Whether nobody reads the answer any more.
    virtual bool IsGone() const noexcept = 0;
};

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
    struct Waiting
    {
        Waiter* m_waiter;
        Clock::time_point m_deadline;
    };
    struct Job
    {
        std::string m_key;
        std::string m_lane;
        Work m_work;
        std::vector<Waiting> m_waiting;
        Clock::time_point m_start;
        bool m_isRunning = false;
    };
    using JobPtr = std::shared_ptr<Job>;
    struct Lane
    {
        std::deque<JobPtr> m_queue;
        std::vector<JobPtr> m_running;
        bool m_isSlow = false; ///< its last piece was late

        bool HasWork() const { return !m_queue.empty() || !m_running.empty(); }
    };

    void Enqueue(JobPtr job);
    Lane* LaneToTakeFrom(const std::string& lane);
    JobPtr Evict(Lane& lane);
    void Run();
    JobPtr Pick();
    bool HasThread() const;
    std::size_t SlowJobs(const Lane& lane) const;
    std::size_t ThreadsFor(const Lane& lane) const;
    JobPtr TakeFrom(Lane& lane);
    static bool IsWanted(const Job& job);
    std::vector<Waiter*> Remove(const JobPtr& job);
    void ForgetIfIdle(const std::string& lane);
    void WatchDeadlines();
    std::vector<Waiter*> TakeLate(Clock::time_point now);
    std::vector<Waiter*> TakeUnwanted();
    std::vector<Waiter*> TakeAll();

    const Limits m_limits;
    const std::size_t m_spare; ///< threads that stand in for slow ones
    mutable std::mutex m_lock;
    std::condition_variable m_hasWork;
    std::condition_variable m_isIdle;
    std::condition_variable m_hasStopped;
    std::unordered_map<std::string, JobPtr> m_jobs; ///< waiting and running
    std::map<std::string, Lane> m_lanes;
    std::string m_lastLane;
    std::size_t m_waitingJobs = 0;
    std::size_t m_runningJobs = 0;
    bool m_isStopping = false;
    bool m_hasEnded = false;
    std::vector<std::thread> m_threads;
    std::thread m_watch;
};

} // namespace KxTileHost::Serve
