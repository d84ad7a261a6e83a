// SPDX-License-Identifier: MIT
#include "serve/WorkPool.h"

#include <algorithm>
#include <exception>
#include <iterator>

namespace KxTileHost::Serve {

namespace {

using namespace std::chrono_literals;

/// Work that runs longer waits for a service that does not deliver.
constexpr auto kSlow = 2s;
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

void AnswerAll(const std::vector<Waiter*>& waiters, const AnswerPtr& answer)
{
    for (Waiter* const waiter : waiters)
        waiter->TakeAnswer(answer);
}

} // namespace

WorkPool::WorkPool(const Limits& limits) : m_limits(limits)
{
    for (int i = 0; i < limits.m_threads; ++i)
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

bool WorkPool::Submit(const std::string& key, const std::string& lane, Work work, Waiter& waiter)
{
    const std::lock_guard guard(m_lock);
    if (m_isStopping)
        return false;
    const Waiting waiting{&waiter, Clock::now() + m_limits.m_wait};
    if (const auto found = m_jobs.find(key); found != m_jobs.end()) {
        found->second->m_waiting.push_back(waiting);
        return true;
    }
    if (m_waitingJobs >= m_limits.m_queue)
        return false;
    auto job = std::make_shared<Job>();
    job->m_key = key;
    job->m_lane = lane;
    job->m_work = std::move(work);
    job->m_waiting.push_back(waiting);
    std::deque<JobPtr>& queue = m_lanes[lane].m_queue;
    queue.push_back(job);
    try {
        m_jobs.emplace(key, std::move(job));
    } catch (...) {
        queue.pop_back();
        throw;
    }
    ++m_waitingJobs;
    m_hasWork.notify_one();
    return true;
}

WorkPool::Counts WorkPool::GetCounts() const
{
    const std::lock_guard guard(m_lock);
    return {m_waitingJobs, m_runningJobs};
}

/// A quarter of the threads stays free for other lanes; one that does not deliver gets a quarter.
std::size_t WorkPool::ThreadsFor(const Lane& lane) const
{
    const std::size_t threads = m_threads.size();
    const std::size_t quarter = std::max<std::size_t>(threads / 4, threads > 1 ? 1 : 0);
    if (m_lanes.size() == 1)
        return threads;
    const auto now = Clock::now();
    const bool slow =
        lane.m_isSlow || std::any_of(lane.m_running.begin(),
                                     lane.m_running.end(),
                                     [&](const JobPtr& job) { return now - job->m_start > kSlow; });
    return slow ? std::max<std::size_t>(quarter, 1) : threads - quarter;
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
    --m_runningJobs;
    m_hasWork.notify_all(); // the lane may have room again
    if (m_jobs.empty())
        m_isIdle.notify_all();
    std::vector<Waiter*> waiters;
    for (const Waiting& waiting : job->m_waiting)
        waiters.push_back(waiting.m_waiter);
    return waiters;
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
        // Work that became slow meanwhile leaves its lane fewer threads; others may have one now.
        if (late.empty())
            continue;
        guard.unlock();
        AnswerAll(late, TextAnswer(Status::kGatewayTimeout, "the source is too slow"));
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
    AnswerAll(left, BusyAnswer("the gateway ends", kRetrySeconds));
    m_watch.join();
    for (std::thread& thread : m_threads)
        isDone ? thread.join() : thread.detach();
    return isDone;
}

} // namespace KxTileHost::Serve
