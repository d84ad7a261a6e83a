// SPDX-License-Identifier: MIT
#include "serve/WorkQueue.h"

#include <algorithm>

namespace KxTileHost::Serve {

bool WorkJob::IsWanted() const
{
    return std::any_of(m_waiting.begin(), m_waiting.end(), [](const Waiting& waiting) {
        return !waiting.m_waiter->IsGone();
    });
}

std::vector<Waiter*> WorkJob::Waiters() const
{
    std::vector<Waiter*> waiters;
    for (const Waiting& waiting : m_waiting)
        waiters.push_back(waiting.m_waiter);
    return waiters;
}

WorkQueue::WorkQueue(const Limits& limits)
    : m_limits(limits), m_spare(std::max<std::size_t>(limits.m_threads / 4, 1))
{
}

bool WorkQueue::Add(JobPtr job, JobPtr& evicted)
{
    const bool isFull = m_waitingJobs >= m_limits.m_queue;
    Lane* const fullest = isFull ? LaneToTakeFrom(job->m_lane) : nullptr;
    if (isFull && fullest == nullptr)
        return false;
    Enqueue(std::move(job));
    if (fullest != nullptr)
        evicted = Evict(*fullest);
    return true;
}

WorkQueue::JobPtr WorkQueue::Find(const std::string& key) const
{
    const auto found = m_jobs.find(key);
    return found == m_jobs.end() ? nullptr : found->second;
}

void WorkQueue::Enqueue(JobPtr job)
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
}

/// The lane with most pieces in the queue; null where the one that asks would have as many.
WorkQueue::Lane* WorkQueue::LaneToTakeFrom(const std::string& lane)
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
WorkQueue::JobPtr WorkQueue::Evict(Lane& lane)
{
    JobPtr job = std::move(lane.m_queue.back());
    lane.m_queue.pop_back();
    m_jobs.erase(job->m_key);
    --m_waitingJobs;
    return job;
}

std::size_t WorkQueue::SlowJobs(const Lane& lane) const
{
    const auto now = Job::Clock::now();
    return static_cast<std::size_t>(
        std::count_if(lane.m_running.begin(), lane.m_running.end(), [&](const JobPtr& job) {
            return now - job->m_start > m_limits.m_slow;
        }));
}

/// Whether work may begin: as many pieces as there are threads are done at a time, and spare
/// threads stand in for slow ones.
bool WorkQueue::HasThread() const
{
    if (m_runningJobs < m_limits.m_threads)
        return true;
    std::size_t slow = 0;
    for (const auto& [name, lane] : m_lanes)
        slow += SlowJobs(lane);
    return m_runningJobs < m_limits.m_threads + std::min(slow, m_spare);
}

/// While others have work, a quarter of the threads stays free for them, and a lane that does not
/// deliver gets no more than a quarter.
std::size_t WorkQueue::ThreadsFor(const Lane& lane) const
{
    const std::size_t threads = m_limits.m_threads;
    const bool isAlone = std::none_of(m_lanes.begin(), m_lanes.end(), [&](const auto& other) {
        return &other.second != &lane && other.second.HasWork();
    });
    if (isAlone || threads == 1)
        return threads;
    const std::size_t quarter = std::max<std::size_t>(threads / 4, 1);
    return lane.m_isSlow || SlowJobs(lane) > 0 ? quarter : threads - quarter;
}

WorkQueue::JobPtr WorkQueue::TakeFrom(Lane& lane)
{
    JobPtr job = std::move(lane.m_queue.front());
    lane.m_queue.pop_front();
    lane.m_running.push_back(job);
    job->m_isRunning = true;
    job->m_start = Job::Clock::now();
    --m_waitingJobs;
    ++m_runningJobs;
    ++m_begunJobs;
    return job;
}

/// The next lane's first piece, beginning behind the lane that was served last.
WorkQueue::JobPtr WorkQueue::Pick()
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

void WorkQueue::Remove(const JobPtr& job)
{
    m_jobs.erase(job->m_key);
    Lane& lane = m_lanes[job->m_lane];
    if (job->m_isRunning) {
        lane.m_running.erase(std::find(lane.m_running.begin(), lane.m_running.end(), job));
        --m_runningJobs;
    } else {
        lane.m_queue.erase(std::find(lane.m_queue.begin(), lane.m_queue.end(), job));
        --m_waitingJobs;
    }
    ForgetIfIdle(job->m_lane);
}

/// That a lane was slow is remembered: there are no more of those than sources.
void WorkQueue::ForgetIfIdle(const std::string& lane)
{
    const auto found = m_lanes.find(lane);
    if (found != m_lanes.end() && !found->second.HasWork() && !found->second.m_isSlow)
        m_lanes.erase(found);
}

} // namespace KxTileHost::Serve
