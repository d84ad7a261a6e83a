// SPDX-License-Identifier: MIT
#include "serve/WorkPool.h"

#include <algorithm>
#include <exception>
#include <utility>

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
      m_queue({static_cast<std::size_t>(limits.m_threads), limits.m_queue, limits.m_slow})
{
    for (std::size_t i = 0; i < m_queue.MostRunning(); ++i)
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
        const WorkJob::Waiting waiting{&waiter, Clock::now() + m_limits.m_wait};
        if (const JobPtr same = m_queue.Find(key)) {
            same->m_waiting.push_back(waiting);
            return Admission::Taken;
        }
        auto job = std::make_shared<WorkJob>();
        job->m_key = key;
        job->m_lane = lane;
        job->m_work = std::move(work);
        job->m_waiting.push_back(waiting);
        if (!m_queue.Add(std::move(job), evicted))
            return Admission::Full;
        m_hasWork.notify_one();
    }
    if (evicted != nullptr) {
        const AnswerPtr refusal = RefusalOf("too many tiles of this source wait already");
        for (const WorkJob::Waiting& waiting : evicted->m_waiting)
            waiting.m_waiter->TakeAnswer(refusal);
    }
    return Admission::Taken;
}

WorkPool::Counts WorkPool::GetCounts() const
{
    const std::lock_guard guard(m_lock);
    return {m_queue.WaitingCount(), m_queue.RunningCount(), m_queue.BegunCount()};
}

void WorkPool::Run()
{
    std::unique_lock guard(m_lock);
    for (;;) {
        JobPtr job = m_queue.Pick();
        if (job == nullptr) {
            if (m_hasEnded)
                return;
            m_hasWork.wait(guard);
            continue;
        }
        AnswerPtr answer;
        if (job->IsWanted()) {
            guard.unlock();
            answer = DoWork(job->m_work);
            guard.lock();
            m_queue.NoteLateness(*job,
                                 answer != nullptr && answer->m_status == Status::kGatewayTimeout);
        }
        const std::vector<Waiter*> waiters = Remove(job);
        guard.unlock();
        AnswerAll(waiters, answer);
        guard.lock();
    }
}

std::vector<Waiter*> WorkPool::Remove(const JobPtr& job)
{
    m_queue.Remove(job);
    m_hasWork.notify_all(); // the lane may have room again
    if (m_queue.All().empty())
        m_isIdle.notify_all();
    return job->Waiters();
}

/// Pieces that nobody waits for any more make room in the queue, also while no thread comes free.
std::vector<Waiter*> WorkPool::TakeUnwanted()
{
    std::vector<JobPtr> unwanted;
    for (const auto& [key, job] : m_queue.All())
        if (!job->m_isRunning && !job->IsWanted())
            unwanted.push_back(job);
    std::vector<Waiter*> gone;
    for (const JobPtr& job : unwanted) {
        const std::vector<Waiter*> waiters = job->Waiters();
        gone.insert(gone.end(), waiters.begin(), waiters.end());
        m_queue.Remove(job);
    }
    if (m_queue.All().empty())
        m_isIdle.notify_all();
    return gone;
}

std::vector<Waiter*> WorkPool::TakeLate(Clock::time_point now)
{
    std::vector<Waiter*> late;
    for (const auto& [key, job] : m_queue.All()) {
        auto& waiting = job->m_waiting;
        const auto isLate = [&](const WorkJob::Waiting& one) { return one.m_deadline <= now; };
        for (const WorkJob::Waiting& one : waiting)
            if (isLate(one))
                late.push_back(one.m_waiter);
        waiting.erase(std::remove_if(waiting.begin(), waiting.end(), isLate), waiting.end());
    }
    return late;
}

std::vector<Waiter*> WorkPool::TakeAll()
{
    std::vector<Waiter*> all;
    for (const auto& [key, job] : m_queue.All()) {
        for (const WorkJob::Waiting& one : job->m_waiting)
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
        if (m_queue.WaitingCount() > 0)
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
        isDone = m_isIdle.wait_until(guard, deadline, [&] { return m_queue.All().empty(); });
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
