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
        EXPECT_TRUE(pool.Submit("same", "lane", gate.Work(), waiter));
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
    EXPECT_TRUE(pool.Submit("a", "lane", gate.Work(), running));
    gate.WaitForStart();
    EXPECT_TRUE(pool.Submit("b", "lane", gate.Work(), waiting));
    EXPECT_FALSE(pool.Submit("c", "lane", gate.Work(), refused));
    gate.Open();
    EXPECT_EQ(waiting.Get()->m_status, 200);
    EXPECT_TRUE(End(pool));
}

TEST(WorkPool, AnswersLateWaitersWhileTheWorkGoesOn)
{
    WorkPool pool({1, 10, 1ms});
    Gate gate;
    SpyWaiter waiter;
    EXPECT_TRUE(pool.Submit("a", "lane", gate.Work(), waiter));
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
    EXPECT_TRUE(pool.Submit("a", "lane", first.Work(), staying));
    first.WaitForStart();
    EXPECT_TRUE(pool.Submit("b", "lane", second.Work(), leaving));
    leaving.m_isGone = true;
    first.Open();
    EXPECT_EQ(leaving.Get(), nullptr);
    EXPECT_EQ(second.Count(), 0);
    EXPECT_TRUE(End(pool));
}

TEST(WorkPool, KeepsAThreadFreeForOtherLanes)
{
    WorkPool pool({4, 100, 60s});
    Gate quick;
    quick.Open();
    SpyWaiter known;
    EXPECT_TRUE(pool.Submit("q", "quick", quick.Work(), known)); // from now on there are two lanes
    known.Get();
    Gate hanging;
    std::vector<SpyWaiter> stuck(20);
    for (std::size_t i = 0; i < stuck.size(); ++i)
        EXPECT_TRUE(pool.Submit(std::to_string(i), "hanging", hanging.Work(), stuck[i]));
    hanging.WaitForStart();
    SpyWaiter other;
    EXPECT_TRUE(pool.Submit("r", "quick", quick.Work(), other));
    EXPECT_EQ(other.Get()->m_status, 200);
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
    EXPECT_TRUE(pool->Submit("a", "lane", gate->Work(), running));
    gate->WaitForStart();
    EXPECT_TRUE(pool->Submit("b", "lane", gate->Work(), waiting));
    EXPECT_FALSE(pool->Stop(WorkPool::Clock::now()));
    EXPECT_EQ(running.Get()->m_status, 503);
    EXPECT_EQ(waiting.Get()->m_status, 503);
    SpyWaiter late;
    EXPECT_FALSE(pool->Submit("c", "lane", gate->Work(), late));
}

TEST(WorkPool, TurnsAnExceptionIntoAnAnswer)
{
    WorkPool pool({1, 10, 60s});
    SpyWaiter waiter;
    EXPECT_TRUE(pool.Submit(
        "a", "lane", []() -> AnswerPtr { throw std::bad_alloc(); }, waiter));
    EXPECT_EQ(waiter.Get()->m_status, 500);
    EXPECT_TRUE(End(pool));
}

} // namespace
