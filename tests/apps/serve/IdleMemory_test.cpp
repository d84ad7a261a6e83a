// SPDX-License-Identifier: MIT
#include "serve/IdleMemory.h"

#include "KxImageData.h"
#include "KxTileFetcher.h"
#include "KxWMTileDataCache.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <utility>
#include <vector>

namespace {

using namespace KxTileHost::Serve;
using namespace std::chrono_literals;

/// Answers one question after the other as the test has written, and then as the last time.
class ScriptedWork
{
public:
    explicit ScriptedWork(std::vector<IdleMemory::Work> answers) : m_answers(std::move(answers)) {}

    IdleMemory::Work Next()
    {
        const std::lock_guard guard(m_lock);
        const std::size_t index = std::min(m_asked++, m_answers.size() - 1);
        m_changed.notify_all();
        return m_answers[index];
    }
    void NoteRelease()
    {
        const std::lock_guard guard(m_lock);
        m_releases.push_back(m_asked);
    }
    /// After which questions memory was given back, once a number of questions were asked.
    std::vector<std::size_t> ReleasesAfter(std::size_t questions)
    {
        std::unique_lock guard(m_lock);
        m_changed.wait(guard, [&] { return m_asked > questions; });
        return m_releases;
    }

private:
    const std::vector<IdleMemory::Work> m_answers;
    std::mutex m_lock;
    std::condition_variable m_changed;
    std::size_t m_asked = 0;
    std::vector<std::size_t> m_releases;
};

std::vector<std::size_t> ReleasesOf(std::vector<IdleMemory::Work> answers)
{
    const std::size_t questions = answers.size() + 3;
    ScriptedWork work(std::move(answers));
    const IdleMemory idle(
        1ms, [&] { return work.Next(); }, [&] { work.NoteRelease(); });
    return work.ReleasesAfter(questions);
}

TEST(IdleMemory, IsGivenBackOnceAfterWork)
{
    EXPECT_EQ(ReleasesOf({{3, true}, {3, false}, {3, false}}), std::vector<std::size_t>{2});
}

TEST(IdleMemory, IsKeptWhileThereIsWork)
{
    EXPECT_EQ(ReleasesOf({{1, true}, {1, true}, {2, true}}), std::vector<std::size_t>{});
}

TEST(IdleMemory, IsKeptWhereNothingWasEverDone)
{
    EXPECT_EQ(ReleasesOf({{0, false}, {0, false}}), std::vector<std::size_t>{});
}

TEST(IdleMemory, IsGivenBackAgainAfterMoreWork)
{
    // Work may begin and end between two questions.
    EXPECT_EQ(ReleasesOf({{1, false}, {1, false}, {2, false}, {2, false}}),
              (std::vector<std::size_t>{2, 4}));
}

std::size_t TilesLeftAfterRelease(bool isKeptOnDisk)
{
    KxC::KxTileFetcher::m_sbLocalCacheUsed = isKeptOnDisk ? 1 : 0;
    KxC::KxWMTileDataCacheManager& memory = KxC::m_gWMTileDataCacheManager;
    memory.OpenCache("idle-memory-test")
        ->AddToCache(new KxC::KxWMTileDataCacheEntry{
            0.0, new KxC::KxWMImageTileData(1, 0, 0, new KxC::KxImageData(1, 1, 20))});
    memory.ReleaseThreadTiles();
    ReleaseIdleMemory();
    const std::size_t left = memory.GetStatistics().m_nTiles;
    memory.Clear();
    KxC::KxTileFetcher::m_sbLocalCacheUsed = 1;
    return left;
}

TEST(IdleMemory, HoldsDecodedTilesThatAreNowhereElse)
{
    EXPECT_EQ(TilesLeftAfterRelease(true), 0U);
    EXPECT_EQ(TilesLeftAfterRelease(false), 1U);
}

} // namespace
