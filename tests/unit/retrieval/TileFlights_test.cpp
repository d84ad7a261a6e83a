// SPDX-License-Identifier: MIT
#include "TileFlights.h"

#include "RetrievalFixture.h"

#include <atomic>
#include <functional>
#include <memory>
#include <new>
#include <string>
#include <thread>
#include <vector>

namespace KxC {
namespace {

using Testing::kTinyPng;

constexpr int kWaiters = 4;

TileFlights::Key KeyOf(const KxTSDParamItem& source)
{
    return {&source, 3, 2, 1, 0};
}

TEST(TileFlights, HasOnePilotPerTileAndRequestParameter)
{
    const KxTSDParamItem source;
    const KxTSDParamItem other;
    const TileFlights::Key keys[] = {KeyOf(source),
                                     KeyOf(other),
                                     {&source, 4, 2, 1, 0},
                                     {&source, 3, 3, 1, 0},
                                     {&source, 3, 2, 2, 0},
                                     {&source, 3, 2, 1, 500}};
    TileFlights flights;
    std::vector<std::unique_ptr<TileFlights::Seat>> pilots;
    for (const TileFlights::Key& key : keys) {
        pilots.push_back(std::make_unique<TileFlights::Seat>(flights, key));
        EXPECT_TRUE(pilots.back()->IsPilot());
        EXPECT_FALSE(TileFlights::Seat(flights, key).IsPilot());
    }
    pilots[0]->Land({});
    EXPECT_TRUE(TileFlights::Seat(flights, keys[0]).IsPilot()) << "the first is over";
}

TEST(TileFlights, TellWhetherOneHasLandedSinceTheCacheWasAsked)
{
    const KxTSDParamItem source;
    TileFlights flights;
    const unsigned long long before = flights.CountLanded();
    {
        const TileFlights::Seat first(flights, KeyOf(source));
        EXPECT_TRUE(first.IsNextAfter(before));
    }
    const TileFlights::Seat second(flights, KeyOf(source));
    EXPECT_FALSE(second.IsNextAfter(before));
    EXPECT_TRUE(second.IsNextAfter(flights.CountLanded()));
}

/// What each thread of a fetch got.
struct Got
{
    NetError m_result = NetError_Success;
    bool m_hasImage = false;
    std::string m_cause;
};

class SharedTile : public Testing::RetrievalTest
{
protected:
    ~SharedTile() override
    {
        m_gWMTileDataCacheManager.SetBudget(KxWMTileDataCacheManager::kDefaultBudget);
    }

    /// All threads want the same tile; the request of the first is answered, after `end`, when all
    /// the others wait for its tile.
    std::vector<Got> FetchTogether(const std::function<void()>& end = [] {})
    {
        std::atomic<bool> isFirst{true};
        m_service.DuringRequests([&] {
            if (!isFirst.exchange(false))
                return;
            while (SharedTileFlights().WaitersFor(KeyOf(m_source)) < kWaiters)
                std::this_thread::yield();
            end();
        });
        std::vector<Got> got(kWaiters + 1);
        std::vector<std::thread> threads;
        for (Got& mine : got)
            threads.emplace_back([this, &mine] { FetchInto(mine); });
        for (std::thread& thread : threads)
            thread.join();
        m_service.DuringRequests([] {}); // what was there refers to this call
        return got;
    }

private:
    void FetchInto(Got& got)
    {
        KxWMImageTileData* tile = nullptr;
        got.m_result = Fetch(tile);
        got.m_hasImage = tile != nullptr && tile->GetImage() != nullptr;
        got.m_cause = KxNetGetch::GetLastRequestInfo().m_strCause.Cstr();
        m_gWMTileDataCacheManager.ReleaseThreadTiles();
    }
};

TEST_F(SharedTile, IsAskedForOnce)
{
    m_service.Answer(kUrl, NetError_Success, kTinyPng);
    for (const Got& got : FetchTogether()) {
        EXPECT_EQ(got.m_result, NetError_Success);
        EXPECT_TRUE(got.m_hasImage);
    }
    EXPECT_EQ(Requests(), 1U);
}

TEST_F(SharedTile, FailsForAllThatWaitWithItsCause)
{
    m_service.Answer(kUrl, NetError_Failure);
    KxNetRequestInfo info;
    info.m_strCause = "broken";
    for (const Got& got : FetchTogether([&] { KxNetGetch::SetLastRequestInfo(info); })) {
        EXPECT_EQ(got.m_result, NetError_Failure);
        EXPECT_FALSE(got.m_hasImage);
        EXPECT_EQ(got.m_cause, "broken");
    }
    EXPECT_EQ(Requests(), 1U);
}

TEST_F(SharedTile, IsAskedForAgainAfterAFailure)
{
    m_service.Answer(kUrl, NetError_Failure);
    FetchTogether();
    m_service.Answer(kUrl, NetError_Success, kTinyPng);
    KxWMImageTileData* tile = nullptr;
    EXPECT_EQ(Fetch(tile), NetError_Success);
    EXPECT_NE(tile, nullptr);
    EXPECT_EQ(Requests(), 2U);
}

TEST_F(SharedTile, IsEmptyForAllWhereTheServerHasNone)
{
    m_service.Answer(kUrl, NetError_NoData);
    for (const Got& got : FetchTogether()) {
        EXPECT_EQ(got.m_result, NetError_Success);
        EXPECT_FALSE(got.m_hasImage);
    }
    EXPECT_EQ(Requests(), 1U);
}

TEST_F(SharedTile, KeepsNobodyWaitingForAThreadThatThrew)
{
    for (const Got& got : FetchTogether([] { throw std::bad_alloc(); }))
        EXPECT_EQ(got.m_result, NetError_Failure);
    EXPECT_EQ(Requests(), 1U);
}

TEST_F(SharedTile, ReachesAllAlsoWhereTheMemoryCacheHasNoRoomForIt)
{
    m_gWMTileDataCacheManager.SetBudget(0);
    m_service.Answer(kUrl, NetError_Success, kTinyPng);
    for (const Got& got : FetchTogether()) {
        EXPECT_EQ(got.m_result, NetError_Success);
        EXPECT_TRUE(got.m_hasImage);
    }
}

TEST_F(SharedTile, CountsOneMissWhereOneThreadWantsIt)
{
    m_service.Answer(kUrl, NetError_Success, kTinyPng);
    const KxWMTileDataCacheStatistics before = m_gWMTileDataCacheManager.GetStatistics();
    KxWMImageTileData* tile = nullptr;
    Fetch(tile);
    Fetch(tile);
    const KxWMTileDataCacheStatistics after = m_gWMTileDataCacheManager.GetStatistics();
    EXPECT_EQ(after.m_nMisses - before.m_nMisses, 1U);
    EXPECT_EQ(after.m_nHits - before.m_nHits, 1U);
}

} // namespace
} // namespace KxC
