// SPDX-License-Identifier: MIT
#include "serve/WorkPool.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <string>
#include <vector>

namespace {

using namespace KxTileHost::Serve;
using namespace std::chrono_literals;

class SpyWaiter : public Waiter
{
public:
    void TakeAnswer(AnswerPtr answer) noexcept override { m_answer.set_value(std::move(answer)); }
    bool IsGone() const noexcept override { return m_isGone; }
    AnswerPtr Get() { return m_answer.get_future().get(); }

    std::atomic<bool> m_isGone{false};

private:
    std::promise<AnswerPtr> m_answer;
};

/// Work that ends when the test says so.
class Gate
{
public:
    WorkPool::Work Work()
    {
        return [this] {
            if (m_count++ == 0)
                m_started.set_value();
            m_open.wait();
            return AnswerPtr(TextAnswer(200, "done"));
        };
    }
    void WaitForStart() { m_started.get_future().wait(); }
    void Open() { m_opening.set_value(); }
    int Count() const { return m_count; }

private:
    std::atomic<int> m_count{0};
    std::promise<void> m_started;
    std::promise<void> m_opening;
    std::shared_future<void> m_open = m_opening.get_future().share();
};

bool Takes(WorkPool::Admission admission)
{
    return admission == WorkPool::Admission::Taken;
}

bool End(WorkPool& pool)
{
    return pool.Stop(WorkPool::Clock::now() + 60s);
}

TEST(WorkPool, DoesTheSameWorkOnceForAllWhoWait)
{
    WorkPool pool({2, 10, 60s});
    Gate gate;
    std::vector<SpyWaiter> waiters(5);
    for (SpyWaiter& waiter : waiters)
        EXPECT_TRUE(Takes(pool.Submit("same", "lane", gate.Work(), waiter)));
    gate.Open();
    const AnswerPtr first = waiters[0].Get();
    for (std::size_t i = 1; i < waiters.size(); ++i)
        EXPECT_EQ(waiters[i].Get(), first);
    EXPECT_EQ(gate.Count(), 1);
    EXPECT_TRUE(End(pool));
}

TEST(WorkPool, RefusesWhatItsQueueDoesNotHold)
{
    WorkPool pool({1, 1, 60s});
    Gate gate;
    SpyWaiter running;
    SpyWaiter waiting;
    SpyWaiter refused;
    EXPECT_TRUE(Takes(pool.Submit("a", "lane", gate.Work(), running)));
    gate.WaitForStart();
    EXPECT_TRUE(Takes(pool.Submit("b", "lane", gate.Work(), waiting)));
    EXPECT_EQ(pool.Submit("c", "lane", gate.Work(), refused), WorkPool::Admission::Full);
    gate.Open();
    EXPECT_EQ(waiting.Get()->m_status, 200);
    EXPECT_TRUE(End(pool));
}

TEST(WorkPool, AnswersLateWaitersWhileTheWorkGoesOn)
{
    WorkPool pool({1, 10, 1ms});
    Gate gate;
    SpyWaiter waiter;
    EXPECT_TRUE(Takes(pool.Submit("a", "lane", gate.Work(), waiter)));
    EXPECT_EQ(waiter.Get()->m_status, 504);
    gate.Open();
    EXPECT_TRUE(End(pool));
}

TEST(WorkPool, LeavesOutWhatNobodyWaitsForAnyMore)
{
    WorkPool pool({1, 10, 60s});
    Gate first;
    Gate second;
    SpyWaiter staying;
    SpyWaiter leaving;
    EXPECT_TRUE(Takes(pool.Submit("a", "lane", first.Work(), staying)));
    first.WaitForStart();
    EXPECT_TRUE(Takes(pool.Submit("b", "lane", second.Work(), leaving)));
    leaving.m_isGone = true;
    first.Open();
    EXPECT_EQ(leaving.Get(), nullptr);
    EXPECT_EQ(second.Count(), 0);
    EXPECT_TRUE(End(pool));
}

TEST(WorkPool, HasAThreadForOtherLanesWhereOneDoesNotDeliver)
{
    for (const int threads : {1, 4}) {
        WorkPool pool({threads, 100, 60s, 1ms});
        Gate hanging;
        std::vector<SpyWaiter> stuck(20);
        for (std::size_t i = 0; i < stuck.size(); ++i)
            EXPECT_TRUE(Takes(pool.Submit(std::to_string(i), "hanging", hanging.Work(), stuck[i])));
        hanging.WaitForStart();
        Gate quick;
        quick.Open();
        SpyWaiter other;
        EXPECT_TRUE(Takes(pool.Submit("r", "quick", quick.Work(), other)));
        EXPECT_EQ(other.Get()->m_status, 200);
        hanging.Open();
        EXPECT_TRUE(End(pool));
    }
}

TEST(WorkPool, GivesALaneAllThreadsWhileNoOtherHasWork)
{
    for (const int threads : {1, 2, 3, 8}) {
        WorkPool pool({threads, 100, 60s, 60s});
        Gate earlier;
        earlier.Open();
        SpyWaiter known;
        EXPECT_TRUE(Takes(pool.Submit("e", "earlier", earlier.Work(), known)));
        known.Get();
        std::vector<Gate> gates(static_cast<std::size_t>(threads));
        std::vector<SpyWaiter> waiters(gates.size());
        for (std::size_t i = 0; i < gates.size(); ++i)
            EXPECT_TRUE(Takes(pool.Submit(std::to_string(i), "busy", gates[i].Work(), waiters[i])));
        for (Gate& gate : gates)
            gate.WaitForStart();
        for (Gate& gate : gates)
            gate.Open();
        EXPECT_TRUE(End(pool));
    }
}

TEST(WorkPool, DoesNoMoreAtATimeThanItHasThreadsWhileAllDeliver)
{
    WorkPool pool({2, 100, 60s, 60s});
    std::vector<Gate> gates(3);
    std::vector<SpyWaiter> waiters(3);
    for (std::size_t i = 0; i < gates.size(); ++i)
        EXPECT_TRUE(Takes(pool.Submit(std::to_string(i), "lane", gates[i].Work(), waiters[i])));
    gates[0].WaitForStart();
    gates[1].WaitForStart();
    EXPECT_EQ(pool.GetCounts().m_waiting, 1U);
    EXPECT_EQ(pool.GetCounts().m_running, 2U);
    for (Gate& gate : gates)
        gate.Open();
    EXPECT_TRUE(End(pool));
}

TEST(WorkPool, TakesPlacesInTheQueueFromTheLaneThatHasMost)
{
    WorkPool pool({1, 3, 60s, 1ms});
    Gate hanging;
    SpyWaiter running;
    EXPECT_TRUE(Takes(pool.Submit("r", "hanging", hanging.Work(), running)));
    hanging.WaitForStart();
    std::vector<SpyWaiter> queued(3);
    for (std::size_t i = 0; i < queued.size(); ++i)
        EXPECT_TRUE(Takes(pool.Submit(std::to_string(i), "hanging", hanging.Work(), queued[i])));
    SpyWaiter refused;
    EXPECT_EQ(pool.Submit("x", "hanging", hanging.Work(), refused), WorkPool::Admission::Full);
    Gate quick;
    quick.Open();
    SpyWaiter other;
    EXPECT_TRUE(Takes(pool.Submit("q", "quick", quick.Work(), other)));
    EXPECT_EQ(queued[2].Get()->m_status, 503); // the newest
    EXPECT_EQ(other.Get()->m_status, 200);
    hanging.Open();
    EXPECT_EQ(queued[0].Get()->m_status, 200);
    EXPECT_EQ(queued[1].Get()->m_status, 200);
    EXPECT_TRUE(End(pool));
}

TEST(WorkPool, ClearsItsQueueOfWhatNobodyWaitsForWhileTheWorkHangs)
{
    WorkPool pool({1, 3, 60s});
    Gate hanging;
    SpyWaiter running;
    EXPECT_TRUE(Takes(pool.Submit("r", "hanging", hanging.Work(), running)));
    hanging.WaitForStart();
    std::vector<SpyWaiter> leaving(3);
    for (std::size_t i = 0; i < leaving.size(); ++i)
        EXPECT_TRUE(Takes(pool.Submit(std::to_string(i), "hanging", hanging.Work(), leaving[i])));
    for (SpyWaiter& waiter : leaving)
        waiter.m_isGone = true;
    for (SpyWaiter& waiter : leaving)
        EXPECT_EQ(waiter.Get(), nullptr);
    EXPECT_EQ(pool.GetCounts().m_waiting, 0U);
    EXPECT_EQ(hanging.Count(), 1);
    hanging.Open();
    EXPECT_TRUE(End(pool));
}

TEST(WorkPool, RefusesWhoStillWaitsWhenItMustEnd)
{
    // Its thread outlives the test's patience, so that pool and gate are never destroyed.
    auto* const pool = new WorkPool({1, 10, 60s});
    auto* const gate = new Gate;
    SpyWaiter running;
    SpyWaiter waiting;
    EXPECT_TRUE(Takes(pool->Submit("a", "lane", gate->Work(), running)));
    gate->WaitForStart();
    EXPECT_TRUE(Takes(pool->Submit("b", "lane", gate->Work(), waiting)));
    EXPECT_FALSE(pool->Stop(WorkPool::Clock::now()));
    EXPECT_EQ(running.Get()->m_status, 503);
    EXPECT_EQ(waiting.Get()->m_status, 503);
    SpyWaiter late;
    EXPECT_EQ(pool->Submit("c", "lane", gate->Work(), late), WorkPool::Admission::Ending);
}

TEST(WorkPool, TurnsAnExceptionIntoAnAnswer)
{
    WorkPool pool({1, 10, 60s});
    SpyWaiter waiter;
    const auto work = []() -> AnswerPtr { throw std::bad_alloc(); };
    EXPECT_TRUE(Takes(pool.Submit("a", "lane", work, waiter)));
    EXPECT_EQ(waiter.Get()->m_status, 500);
    EXPECT_TRUE(End(pool));
}

} // namespace
