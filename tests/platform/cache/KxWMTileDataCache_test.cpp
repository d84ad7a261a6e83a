// SPDX-License-Identifier: MIT
#include "KxWMTileDataCache.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <set>
#include <thread>
#include <vector>

namespace KxC {
namespace {

std::atomic<int> s_alive{0};

/// A tile of a chosen size that counts how many of its kind live.
class SizedTile : public KxWMTileData
{
public:
    SizedTile(int level, int row, int col, std::size_t bytes)
        : KxWMTileData(level, row, col), m_nBytes(bytes)
    {
        ++s_alive;
    }
    ~SizedTile() override { --s_alive; }
    std::size_t GetByteCount() const override { return m_nBytes; }

private:
    std::size_t m_nBytes;
};

KxWMTileData* Add(KxWMTileDataCache& cache, KxWMTileData* tile)
{
    cache.AddToCache(new KxWMTileDataCacheEntry{0.0, tile});
    return tile;
}

KxWMTileData* AddSized(KxWMTileDataCache& cache, int col, std::size_t bytes)
{
    return Add(cache, new SizedTile(1, 0, col, bytes));
}

class KxWMTileDataCacheTest : public testing::Test
{
protected:
    void SetUp() override { ASSERT_EQ(s_alive, 0); }
    void TearDown() override
    {
        m_manager->ReleaseThreadTiles();
        m_manager.reset();
        EXPECT_EQ(s_alive, 0) << "tiles leaked";
    }

    std::unique_ptr<KxWMTileDataCacheManager> m_manager =
        std::make_unique<KxWMTileDataCacheManager>();
    KxWMTileDataCache& m_cache = *m_manager->OpenCache("source");
};

TEST_F(KxWMTileDataCacheTest, FindsWhatWasAddedAtItsAddressOnly)
{
    KxWMTileData* const tile = Add(m_cache, new SizedTile(3, -4, 5, 10));
    EXPECT_EQ(m_cache.AccessTileData(3, -4, 5), tile);
    EXPECT_EQ(m_cache.AccessTileData(3, 5, -4), nullptr);
    EXPECT_EQ(m_cache.AccessTileData(4, -4, 5), nullptr);
}

TEST_F(KxWMTileDataCacheTest, KeepsSourcesApart)
{
    AddSized(m_cache, 1, 10);
    EXPECT_EQ(m_manager->OpenCache("other")->AccessTileData(1, 0, 1), nullptr);
    EXPECT_EQ(m_manager->OpenCache("source"), &m_cache);
}

TEST_F(KxWMTileDataCacheTest, LeastRecentlyUsedTileLeavesFirst)
{
    m_manager->SetBudget(300);
    for (int col = 0; col < 3; ++col)
        AddSized(m_cache, col, 100);
    m_cache.AccessTileData(1, 0, 0);
    AddSized(m_cache, 3, 100);
    EXPECT_NE(m_cache.AccessTileData(1, 0, 0), nullptr);
    EXPECT_EQ(m_cache.AccessTileData(1, 0, 1), nullptr);
    EXPECT_NE(m_cache.AccessTileData(1, 0, 2), nullptr);
}

TEST_F(KxWMTileDataCacheTest, OrderOfUseHoldsAcrossManyTiles)
{
    constexpr int kTiles = 500;
    for (int col = 0; col < kTiles; ++col)
        AddSized(m_cache, col, 10);
    for (int col = kTiles - 1; col >= 0; --col) {
        m_cache.AccessTileData(1, 0, col);
        Add(m_cache, new SizedTile(2, 0, 0, 0)); // use is ordered by what is added in between
    }
    m_manager->SetBudget(1000); // the hundred used last: columns 99 to 0
    for (int col = 0; col < kTiles; ++col)
        EXPECT_EQ(m_cache.AccessTileData(1, 0, col) != nullptr, col < 100) << col;
}

TEST_F(KxWMTileDataCacheTest, WhatWasUsedSinceTheLastAdditionOutlivesIt)
{
    m_manager->SetBudget(300);
    for (int col = 0; col < 3; ++col)
        AddSized(m_cache, col, 100);
    m_cache.AccessTileData(1, 0, 1);
    m_cache.AccessTileData(1, 0, 0);
    m_manager->SetBudget(200);
    EXPECT_EQ(m_cache.AccessTileData(1, 0, 2), nullptr) << "the last one added";
    EXPECT_NE(m_cache.AccessTileData(1, 0, 0), nullptr);
    EXPECT_NE(m_cache.AccessTileData(1, 0, 1), nullptr);
}

TEST_F(KxWMTileDataCacheTest, FindsExactlyWhatIsLeftOfManyTiles)
{
    constexpr int kSide = 100;
    constexpr int kLeft = 3000;
    for (int i = 0; i < kSide * kSide; ++i)
        Add(m_cache, new SizedTile(7, i / kSide, i % kSide, 10));
    m_manager->SetBudget(kLeft * 10);
    for (int i = 0; i < kSide * kSide; ++i) {
        const KxWMTileData* const tile = m_cache.AccessTileData(7, i / kSide, i % kSide);
        ASSERT_EQ(tile != nullptr, i >= kSide * kSide - kLeft) << i;
        ASSERT_EQ(tile == nullptr ? i : tile->GetRow() * kSide + tile->GetCol(), i);
    }
}

TEST_F(KxWMTileDataCacheTest, StaysWithinTheBudgetAndFreesWhatNobodyHolds)
{
    m_manager->SetBudget(1000);
    for (int col = 0; col < 100; ++col) {
        AddSized(m_cache, col, 90);
        m_manager->ReleaseThreadTiles();
        EXPECT_LE(m_manager->GetStatistics().m_nBytes, 1000U);
    }
    EXPECT_EQ(s_alive, 1000 / 90);
}

TEST_F(KxWMTileDataCacheTest, SmallerBudgetActsAtOnce)
{
    for (int col = 0; col < 10; ++col)
        AddSized(m_cache, col, 100);
    m_manager->SetBudget(250);
    EXPECT_EQ(m_manager->GetStatistics().m_nTiles, 2U);
    EXPECT_EQ(m_manager->GetBudget(), 250U);
}

TEST_F(KxWMTileDataCacheTest, TileAboveTheBudgetIsHandedOverButNotKept)
{
    m_manager->SetBudget(100);
    AddSized(m_cache, 1, 50);
    const KxWMTileData* const tile = AddSized(m_cache, 1, 101);
    EXPECT_EQ(tile->GetCol(), 1);
    EXPECT_EQ(m_cache.AccessTileData(1, 0, 1), nullptr);
    EXPECT_EQ(m_manager->GetStatistics().m_nBytes, 0U);
    m_manager->ReleaseThreadTiles();
    EXPECT_EQ(s_alive, 0);
}

TEST_F(KxWMTileDataCacheTest, ReplacedTileStaysValidForItsHolder)
{
    const KxWMTileData* const old = AddSized(m_cache, 7, 10);
    std::thread([this] { AddSized(m_cache, 7, 20); }).join();
    EXPECT_EQ(old->GetCol(), 7);
    EXPECT_EQ(s_alive, 2);
    EXPECT_EQ(m_manager->GetStatistics().m_nBytes, 20U);
    m_manager->ReleaseThreadTiles();
    EXPECT_EQ(s_alive, 1);
}

TEST_F(KxWMTileDataCacheTest, HitStaysValidUntilItsThreadLetsGo)
{
    std::thread([this] { AddSized(m_cache, 7, 10); }).join();
    const KxWMTileData* const tile = m_cache.AccessTileData(1, 0, 7);
    std::thread([this] {
        m_manager->Clear();
        m_manager->ReleaseThreadTiles();
    }).join();
    EXPECT_EQ(tile->GetCol(), 7);
    m_manager->ReleaseThreadTiles();
    EXPECT_EQ(s_alive, 0);
}

/// Steps that threads take in turn.
class Turns
{
public:
    void WaitFor(int turn)
    {
        std::unique_lock<std::mutex> guard(m_lock);
        m_changed.wait(guard, [&] { return m_turn >= turn; });
    }
    void Next()
    {
        {
            const std::lock_guard<std::mutex> guard(m_lock);
            ++m_turn;
        }
        m_changed.notify_all();
    }

private:
    std::mutex m_lock;
    std::condition_variable m_changed;
    int m_turn = 0;
};

TEST_F(KxWMTileDataCacheTest, RemovedTileLivesUntilTheLastOfItsHoldersLetsGo)
{
    AddSized(m_cache, 7, 10);
    Turns turns;
    std::thread other([&] {
        const KxWMTileData* const tile = m_cache.AccessTileData(1, 0, 7);
        turns.Next();
        turns.WaitFor(2);
        EXPECT_EQ(s_alive, 1) << "the other holder is left";
        EXPECT_EQ(tile->GetCol(), 7);
        m_manager->ReleaseThreadTiles();
        EXPECT_EQ(s_alive, 0);
        turns.Next();
    });
    turns.WaitFor(1);
    m_manager->Clear();
    EXPECT_EQ(s_alive, 1);
    m_manager->ReleaseThreadTiles();
    turns.Next();
    other.join();
    EXPECT_EQ(s_alive, 0);
}

TEST_F(KxWMTileDataCacheTest, HoldsMoreTilesThanAnyOperationBefore)
{
    constexpr int kTiles = 20000;
    m_manager->SetBudget(10);
    for (int round = 0; round < 2; ++round) {
        std::vector<const KxWMTileData*> tiles;
        for (int col = 0; col < kTiles; ++col)
            tiles.push_back(AddSized(m_cache, col, 10));
        for (int col = 0; col < kTiles; ++col)
            ASSERT_EQ(tiles[static_cast<std::size_t>(col)]->GetCol(), col);
        EXPECT_EQ(s_alive, kTiles);
        m_manager->ReleaseThreadTiles();
        EXPECT_EQ(s_alive, 1);
    }
}

TEST_F(KxWMTileDataCacheTest, ManagerMayGoBeforeThoseWhoHoldItsTiles)
{
    const KxWMTileData* tile = nullptr;
    {
        KxWMTileDataCacheManager other;
        tile = AddSized(*other.OpenCache("source"), 7, 10);
    }
    EXPECT_EQ(tile->GetCol(), 7);
    m_manager->ReleaseThreadTiles();
    EXPECT_EQ(s_alive, 0);
}

TEST_F(KxWMTileDataCacheTest, OpensManyCachesFromManyThreadsOnceEach)
{
    constexpr int kNames = 300;
    std::vector<std::vector<KxWMTileDataCache*>> seen(4);
    std::vector<std::thread> threads;
    for (std::vector<KxWMTileDataCache*>& caches : seen)
        threads.emplace_back([&] {
            for (int i = 0; i < kNames; ++i)
                caches.push_back(m_manager->OpenCache(KxString().Format("source%d", i)));
        });
    for (std::thread& thread : threads)
        thread.join();
    for (const std::vector<KxWMTileDataCache*>& caches : seen)
        EXPECT_EQ(caches, seen.front());
    EXPECT_EQ(std::set<KxWMTileDataCache*>(seen[0].begin(), seen[0].end()).size(), 300U);
}

TEST_F(KxWMTileDataCacheTest, EndOfAThreadLetsGoOfItsTiles)
{
    std::thread([this] {
        m_manager->KeepForThread(new SizedTile(1, 2, 3, 10));
        AddSized(m_cache, 1, 10);
        m_manager->Clear();
        EXPECT_EQ(s_alive, 2);
    }).join();
    EXPECT_EQ(s_alive, 0);
}

TEST_F(KxWMTileDataCacheTest, KeptTileLivesUntilRelease)
{
    auto* const tile = new SizedTile(1, 2, 3, 10);
    m_manager->KeepForThread(tile);
    m_manager->KeepForThread(nullptr);
    EXPECT_EQ(tile->GetCol(), 3);
    m_manager->ReleaseThreadTiles();
    EXPECT_EQ(s_alive, 0);
}

TEST_F(KxWMTileDataCacheTest, ManyHitsOnFewTilesHoldEachOfThem)
{
    for (int col = 0; col < 3; ++col)
        AddSized(m_cache, col, 10);
    for (int i = 0; i < 10000; ++i)
        ASSERT_NE(m_cache.AccessTileData(1, 0, i % 3), nullptr);
    m_manager->Clear();
    EXPECT_EQ(s_alive, 3);
    m_manager->ReleaseThreadTiles();
    EXPECT_EQ(s_alive, 0);
}

TEST_F(KxWMTileDataCacheTest, TileWhoseDestructorUsesTheCacheMayGo)
{
    class CallingTile : public SizedTile
    {
    public:
        explicit CallingTile(KxWMTileDataCache& cache) : SizedTile(9, 9, 9, 10), m_cache(cache) {}
        ~CallingTile() override { m_cache.AccessTileData(1, 0, 1); }

    private:
        KxWMTileDataCache& m_cache;
    };
    AddSized(m_cache, 1, 10);
    m_manager->KeepForThread(new CallingTile(m_cache));
    m_manager->ReleaseThreadTiles();
    EXPECT_NE(m_cache.AccessTileData(1, 0, 1), nullptr);
}

TEST_F(KxWMTileDataCacheTest, CountsHitsMissesTilesAndBytes)
{
    AddSized(m_cache, 1, 10);
    AddSized(m_cache, 2, 30);
    m_cache.AccessTileData(1, 0, 1);
    m_cache.AccessTileData(1, 0, 2);
    m_cache.AccessTileData(1, 0, 3);
    const KxWMTileDataCacheStatistics statistics = m_manager->GetStatistics();
    EXPECT_EQ(statistics.m_nHits, 2U);
    EXPECT_EQ(statistics.m_nMisses, 1U);
    EXPECT_EQ(statistics.m_nTiles, 2U);
    EXPECT_EQ(statistics.m_nBytes, 40U);
}

TEST_F(KxWMTileDataCacheTest, NullEntryAndNullTileAreIgnored)
{
    m_cache.AddToCache(nullptr);
    Add(m_cache, nullptr);
    EXPECT_EQ(m_manager->GetStatistics().m_nTiles, 0U);
}

TEST(KxWMImageTileData, CountsThePixelsOfItsImage)
{
    const KxWMImageTileData empty(1, 2, 3, nullptr);
    const KxWMImageTileData full(1, 2, 3, new KxImageData(256, 256, KxPixelFormat_RGBA));
    EXPECT_EQ(empty.GetImage(), nullptr);
    EXPECT_GT(empty.GetByteCount(), 0U);
    EXPECT_GE(full.GetByteCount() - empty.GetByteCount(), 256U * 256U * 4U);
}

/// A picture whose every byte tells its column.
KxWMImageTileData* MakePicture(int col)
{
    auto image = std::make_unique<KxImageData>(64, 64, KxPixelFormat_RGBA);
    const auto value = static_cast<unsigned char>(col);
    std::fill_n(image->GetData(), 64 * 64 * 4, value);
    return new KxWMImageTileData(5, 0, col, image.release());
}

bool HoldsItsColumn(const KxWMTileData* tile, int col)
{
    const KxImageData* const image = static_cast<const KxWMImageTileData*>(tile)->GetImage();
    const unsigned char* const bytes = image->GetData();
    return std::all_of(
        bytes, bytes + 64 * 64 * 4, [col](unsigned char byte) { return byte == col; });
}

TEST_F(KxWMTileDataCacheTest, TwentyThreadsOnOverlappingTilesSeeWholePictures)
{
    m_manager->SetBudget(1U << 20U); // about 60 of the 100 tiles
    std::atomic<int> wrong{0};
    const auto work = [&](int thread) {
        for (int i = 0; i < 300; ++i) {
            const int col = (thread * 37 + i * 7) % 100;
            const KxWMTileData* tile = m_cache.AccessTileData(5, 0, col);
            if (tile == nullptr)
                tile = Add(m_cache, MakePicture(col));
            if (i % 40 == 0)
                Add(m_cache, MakePicture(col)); // in place of what others are reading
            if (i % 50 == 0)
                m_manager->OpenCache(KxString().Format("source%d", i));
            wrong += HoldsItsColumn(tile, col) ? 0 : 1;
            if (i % 5 == 0)
                m_manager->ReleaseThreadTiles();
        }
    };
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 20; ++thread)
        threads.emplace_back(work, thread);
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(wrong, 0);
    EXPECT_LE(m_manager->GetStatistics().m_nBytes, 1U << 20U);
}

/// Uses the cache when everything else of the thread and the process is gone.
struct LateUser
{
    ~LateUser()
    {
        m_gWMTileDataCacheManager.OpenCache("late")->AccessTileData(1, 0, 1);
        m_gWMTileDataCacheManager.ReleaseThreadTiles();
    }
};

TEST(KxWMTileDataCacheManagerDeathTest, ServesUntilTheProcessHasEnded)
{
    EXPECT_EXIT(
        {
            static const LateUser kEarly; // destroyed at exit, after the thread's own objects
            AddSized(*m_gWMTileDataCacheManager.OpenCache("late"), 1, 10);
            std::exit(0);
        },
        testing::ExitedWithCode(0),
        "");
}

} // namespace
} // namespace KxC
