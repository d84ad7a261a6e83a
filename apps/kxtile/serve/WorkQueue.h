// SPDX-License-Identifier: MIT
#pragma once

#include "serve/Answer.h"

#include <chrono>
#include <cstddef>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <string>
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

/// A piece of work, and who waits for it.
struct WorkJob
{
    using Clock = std::chrono::steady_clock;
    struct Waiting
    {
        Waiter* m_waiter;
        Clock::time_point m_deadline;
    };

    std::string m_key; ///< the same for the same work
    std::string m_lane;
    std::function<AnswerPtr()> m_work;
    std::vector<Waiting> m_waiting;
    Clock::time_point m_start; ///< of those that run
    bool m_isRunning = false;

    /// A map that was moved on asks for other tiles: those that it gave up are not made.
    bool IsWanted() const;
    std::vector<Waiter*> Waiters() const;
};

/// The pieces of work that wait and run, in lanes, and which is to begin next: lanes take turns,
/// and one that does not deliver leaves threads and places to the others. It does nothing itself.
/// Not for several threads at a time.
class WorkQueue
{
public:
    using Job = WorkJob;
    using JobPtr = std::shared_ptr<Job>;
    using Jobs = std::unordered_map<std::string, JobPtr>;

    struct Limits
    {
        std::size_t m_threads = 4;  ///< pieces that run at a time, but for slow ones
        std::size_t m_queue = 1000; ///< pieces that wait
        std::chrono::milliseconds m_slow{2000};
    };

    explicit WorkQueue(const Limits& limits);

    /// Takes a piece whose key is not there. Where it is full, a lane that holds less than another
    /// takes the place of that one's newest piece.
    /// @param evicted  receives that piece
    /// @return false when there is no place
    bool Add(JobPtr job, JobPtr& evicted);
    /// Null when there is none of that key.
    JobPtr Find(const std::string& key) const;

    /// The piece that is to begin now; null when none is.
    JobPtr Pick();
    /// To be called when the work of a piece is done, before it is removed.
    void NoteLateness(const Job& job, bool isLate) { m_lanes[job.m_lane].m_isSlow = isLate; }
    /// Takes out a piece that waits or runs.
    void Remove(const JobPtr& job);

    const Jobs& All() const { return m_jobs; }
    std::size_t WaitingCount() const { return m_waitingJobs; }
    std::size_t RunningCount() const { return m_runningJobs; }
    std::size_t BegunCount() const { return m_begunJobs; } ///< ever
    /// Pieces that may run at a time, with the threads that stand in for slow ones.
    std::size_t MostRunning() const { return m_limits.m_threads + m_spare; }

private:
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
    bool HasThread() const;
    std::size_t SlowJobs(const Lane& lane) const;
    std::size_t ThreadsFor(const Lane& lane) const;
    JobPtr TakeFrom(Lane& lane);
    void ForgetIfIdle(const std::string& lane);

    const Limits m_limits;
    const std::size_t m_spare; ///< threads that stand in for slow ones
    Jobs m_jobs;               ///< waiting and running
    std::map<std::string, Lane> m_lanes;
    std::string m_lastLane;
    std::size_t m_waitingJobs = 0;
    std::size_t m_runningJobs = 0;
    std::size_t m_begunJobs = 0;
};

} // namespace KxTileHost::Serve
