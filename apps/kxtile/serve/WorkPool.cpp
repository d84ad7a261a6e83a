// SPDX-License-Identifier: MIT
#include "serve/WorkPool.h"

#include <algorithm>
#include <exception>
#include <iterator>

namespace KxTileHost::Serve {

namespace {

using namespace std::chrono_literals;

/// How late the news of being late may be.
constexpr auto kWatchStep = 100ms;
constexpr int kRetrySeconds = 1;

AnswerPtr DoWork(const WorkPool::Work& work) noexcept
try {
    return work();
} catch (const std::exception&) {
    try {
        return TextAnswer(Status::kInternalError, "the gateway ran out of memory for this tile");
    } catch (const std::exception&) {
        return nullptr; // the server cuts the connection
    }
}

/// Null where there is no memory for it: the server cuts the connection.
AnswerPtr RefusalOf(const char* words) noexcept
try {
    return BusyAnswer(words, kRetrySeconds);
} catch (const std::exception&) {
    return nullptr;
}

void AnswerAll(const std::vector<Waiter*>& waiters, const AnswerPtr& answer)
{
    for (Waiter* const waiter : waiters)
        waiter->TakeAnswer(answer);
}

} // namespace

WorkPool::WorkPool(const Limits& limits)
    : m_limits(limits),
      m_spare(std::max<std::size_t>(static_cast<std::size_t>(limits.m_threads) / 4, 1))
{
    for (std::size_t i = 0; i < static_cast<std::size_t>(limits.m_threads) + m_spare; ++i)
        m_threads.emplace_back([this] { Run(); });
    m_watch = std::thread([this] { WatchDeadlines(); });
}

WorkPool::~WorkPool()
{
    for (std::thread& thread : m_threads)
        if (thread.joinable())
            thread.join();
    if (m_watch.joinable())
        m_watch.join();
}

WorkPool::Admission
WorkPool::Submit(const std::string& key, const std::string& lane, Work work, Waiter& waiter)
{
    JobPtr evicted;
    {
        const std::lock_guard guard(m_lock);
        if (m_isStopping)
            return Admission::Ending;
        const Waiting waiting{&waiter, Clock::now() + m_limits.m_wait};
        if (const auto found = m_jobs.find(key); found != m_jobs.end()) {
            found->second->m_waiting.push_back(waiting);
            return Admission::Taken;
        }
        Lane* const fullest = m_waitingJobs < m_limits.m_queue ? nullptr : LaneToTakeFrom(lane);
        if (m_waitingJobs >= m_limits.m_queue && fullest == nullptr)
            return Admission::Full;
        auto job = std::make_shared<Job>();
        job->m_key = key;
        job->m_lane = lane;
        job->m_work = std::move(work);
        job->m_waiting.push_back(waiting);
        Enqueue(std::move(job));
        if (fullest != nullptr)
            evicted = Evict(*fullest);
    }
    if (evicted != nullptr) {
        const AnswerPtr refusal = RefusalOf("too many tiles of this source wait already");
        for (const Waiting& waiting : evicted->m_waiting)
            waiting.m_waiter->TakeAnswer(refusal);
    }
    return Admission::Taken;
}

void WorkPool::Enqueue(JobPtr job)
{
    std::deque<JobPtr>& queue = m_lanes[job->m_lane].m_queue;
    queue.push_back(job);
    try {
        m_jobs.emplace(job->m_key, job);
    } catch (...) {
        queue.pop_back();
        throw;
    }
    ++m_waitingJobs;
    m_hasWork.notify_one();
}

/// The lane with most pieces in the queue; null where the one that asks would have as many.
WorkPool::Lane* WorkPool::LaneToTakeFrom(const std::string& lane)
{
    const auto own = m_lanes.find(lane);
    const std::size_t ownSize = own == m_lanes.end() ? 0 : own->second.m_queue.size();
    const auto fullest =
        std::max_element(m_lanes.begin(), m_lanes.end(), [](const auto& left, const auto& right) {
            return left.second.m_queue.size() < right.second.m_queue.size();
        });
    const bool hasMore = fullest != m_lanes.end() && fullest->second.m_queue.size() > ownSize + 1;
    return hasMore ? &fullest->second : nullptr;
}

/// The newest goes: those before it have waited longer.
WorkPool::JobPtr WorkPool::Evict(Lane& lane)
{
    JobPtr job = std::move(lane.m_queue.back());
    lane.m_queue.pop_back();
    m_jobs.erase(job->m_key);
    --m_waitingJobs;
    return job;
}

WorkPool::Counts WorkPool::GetCounts() const
{
    const std::lock_guard guard(m_lock);
    return {m_waitingJobs, m_runningJobs};
}

std::size_t WorkPool::SlowJobs(const Lane& lane) const
{
    const auto now = Clock::now();
    return static_cast<std::size_t>(
        std::count_if(lane.m_running.begin(), lane.m_running.end(), [&](const JobPtr& job) {
            return now - job->m_start > m_limits.m_slow;
        }));
}

/// Whether work may begin: as many pieces as there are threads are done at a time, and spare
/// threads stand in for slow ones.
bool WorkPool::HasThread() const
{
    const auto threads = static_cast<std::size_t>(m_limits.m_threads);
    if (m_runningJobs < threads)
        return true;
    std::size_t slow = 0;
    for (const auto& [name, lane] : m_lanes)
        slow += SlowJobs(lane);
    return m_runningJobs < threads + std::min(slow, m_spare);
}

/// While others have work, a quarter of the threads stays free for them, and a lane that does not
/// deliver gets no more than a quarter.
std::size_t WorkPool::ThreadsFor(const Lane& lane) const
{
    const auto threads = static_cast<std::size_t>(m_limits.m_threads);
    const bool isAlone = std::none_of(m_lanes.begin(), m_lanes.end(), [&](const auto& other) {
        return &other.second != &lane && other.second.HasWork();
    });
    if (isAlone || threads == 1)
        return threads;
    const std::size_t quarter = std::max<std::size_t>(threads / 4, 1);
    return lane.m_isSlow || SlowJobs(lane) > 0 ? quarter : threads - quarter;
}

WorkPool::JobPtr WorkPool::TakeFrom(Lane& lane)
{
    JobPtr job = std::move(lane.m_queue.front());
    lane.m_queue.pop_front();
    lane.m_running.push_back(job);
    job->m_isRunning = true;
    job->m_start = Clock::now();
    --m_waitingJobs;
    ++m_runningJobs;
    return job;
}

/// The next lane's first piece, beginning behind the lane that was served last.
WorkPool::JobPtr WorkPool::Pick()
{
    if (m_waitingJobs == 0 || !HasThread())
        return nullptr;
    auto lane = m_lanes.upper_bound(m_lastLane);
    for (std::size_t i = 0; i < m_lanes.size(); ++i, ++lane) {
        if (lane == m_lanes.end())
            lane = m_lanes.begin();
        if (lane->second.m_queue.empty() ||
            lane->second.m_running.size() >= ThreadsFor(lane->second))
            continue;
        m_lastLane = lane->first;
        return TakeFrom(lane->second);
    }
    return nullptr;
}

void WorkPool::Run()
{
    std::unique_lock guard(m_lock);
    for (;;) {
        JobPtr job = Pick();
        if (job == nullptr) {
            if (m_hasEnded)
                return;
            m_hasWork.wait(guard);
            continue;
        }
        AnswerPtr answer;
        if (IsWanted(*job)) {
            guard.unlock();
            answer = DoWork(job->m_work);
            guard.lock();
            m_lanes[job->m_lane].m_isSlow =
                answer != nullptr && answer->m_status == Status::kGatewayTimeout;
        }
        const std::vector<Waiter*> waiters = Remove(job);
        guard.unlock();
        AnswerAll(waiters, answer);
        guard.lock();
    }
}

/// A map that was moved on asks for other tiles: those that it gave up are not made.
bool WorkPool::IsWanted(const Job& job)
{
    return std::any_of(job.m_waiting.begin(), job.m_waiting.end(), [](const Waiting& waiting) {
        return !waiting.m_waiter->IsGone();
    });
}

std::vector<Waiter*> WorkPool::Remove(const JobPtr& job)
{
    m_jobs.erase(job->m_key);
    Lane& lane = m_lanes[job->m_lane];
    lane.m_running.erase(std::find(lane.m_running.begin(), lane.m_running.end(), job));
    ForgetIfIdle(job->m_lane);
    --m_runningJobs;
    m_hasWork.notify_all(); // the lane may have room again
    if (m_jobs.empty())
        m_isIdle.notify_all();
    std::vector<Waiter*> waiters;
    for (const Waiting& waiting : job->m_waiting)
        waiters.push_back(waiting.m_waiter);
    return waiters;
}

/// That a lane was slow is remembered: there are no more of those than sources.
void WorkPool::ForgetIfIdle(const std::string& lane)
{
    const auto found = m_lanes.find(lane);
    if (found != m_lanes.end() && !found->second.HasWork() && !found->second.m_isSlow)
        m_lanes.erase(found);
}

/// Pieces that nobody waits for any more make room in the queue, also while no thread comes free.
std::vector<Waiter*> WorkPool::TakeUnwanted()
{
    std::vector<Waiter*> gone;
    for (auto at = m_jobs.begin(); at != m_jobs.end();) {
        const JobPtr job = at->second;
        if (job->m_isRunning || IsWanted(*job)) {
            ++at;
            continue;
        }
        for (const Waiting& waiting : job->m_waiting)
            gone.push_back(waiting.m_waiter);
        std::deque<JobPtr>& queue = m_lanes[job->m_lane].m_queue;
        queue.erase(std::find(queue.begin(), queue.end(), job));
        at = m_jobs.erase(at);
        --m_waitingJobs;
        ForgetIfIdle(job->m_lane);
    }
    if (m_jobs.empty())
        m_isIdle.notify_all();
    return gone;
}

std::vector<Waiter*> WorkPool::TakeLate(Clock::time_point now)
{
    std::vector<Waiter*> late;
    for (const auto& [key, job] : m_jobs) {
        auto& waiting = job->m_waiting;
        const auto isLate = [&](const Waiting& one) { return one.m_deadline <= now; };
        for (const Waiting& one : waiting)
            if (isLate(one))
                late.push_back(one.m_waiter);
        waiting.erase(std::remove_if(waiting.begin(), waiting.end(), isLate), waiting.end());
    }
    return late;
}

std::vector<Waiter*> WorkPool::TakeAll()
{
    std::vector<Waiter*> all;
    for (const auto& [key, job] : m_jobs) {
        for (const Waiting& one : job->m_waiting)
            all.push_back(one.m_waiter);
        job->m_waiting.clear();
    }
    return all;
}

void WorkPool::WatchDeadlines()
{
    std::unique_lock guard(m_lock);
    while (!m_hasEnded) {
        m_hasStopped.wait_for(guard, kWatchStep);
        const std::vector<Waiter*> late = TakeLate(Clock::now());
        const std::vector<Waiter*> gone = TakeUnwanted();
        // For work that became slow meanwhile a spare thread stands in.
        if (m_waitingJobs > 0)
            m_hasWork.notify_all();
        if (late.empty() && gone.empty())
            continue;
        guard.unlock();
        AnswerAll(late, TextAnswer(Status::kGatewayTimeout, "the source is too slow"));
        AnswerAll(gone, nullptr);
        guard.lock();
    }
}

bool WorkPool::Stop(Clock::time_point deadline)
{
    std::vector<Waiter*> left;
    bool isDone = false;
    {
        std::unique_lock guard(m_lock);
        m_isStopping = true;
        isDone = m_isIdle.wait_until(guard, deadline, [&] { return m_jobs.empty(); });
        left = TakeAll();
        m_hasEnded = true;
        m_hasWork.notify_all();
        m_hasStopped.notify_all();
    }
    AnswerAll(left, RefusalOf("the gateway ends"));
    m_watch.join();
    for (std::thread& thread : m_threads)
        isDone ? thread.join() : thread.detach();
    return isDone;
}

} // namespace KxTileHost::Serve
