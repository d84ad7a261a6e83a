// SPDX-License-Identifier: MIT
#include "FakeEarth.h"

#include <atomic>
#include <thread>

namespace KxC::EarthTest {
namespace {

class KxGeFetcherThreads : public EarthTest
{
protected:
    KxGeFetcherThreads()
    {
        // "21" and "20" have images; "213" and "203" have packets below.
        m_earth.PutPacket(
            "q2-0-q.5",
            BinaryPacket({{4}, {3}, {0x48, 0, 6}, {0x10, 43}, {0x48, 0, 5}, {0x10, 42}}));
        for (const char* packet : {"q2-0213-q.42", "q2-0203-q.43"})
            m_earth.PutPacket(packet, BinaryPacket({{1}, {0x40, 0, 8}}));
        m_earth.PutImage("f1-021-i.5", Picture(5));
        m_earth.PutImage("f1-020-i.6", Picture(6));
        m_earth.PutImage("f1-02130-i.8", Picture(81));
        m_earth.PutImage("f1-02030-i.8", Picture(82));
    }
};

TEST_F(KxGeFetcherThreads, FetchTogetherThroughOneFetcher)
{
    const std::vector<std::pair<std::string, int>> tiles{
        {"21", 5}, {"20", 6}, {"2130", 81}, {"2030", 82}};
    std::vector<std::thread> threads;
    for (std::size_t first = 0; first < 6; ++first)
        threads.emplace_back([this, first, &tiles] {
            for (std::size_t i = 0; i < 24; ++i) {
                const auto& [digits, mark] = tiles[(first + i) % tiles.size()];
                EXPECT_EQ(FetchCurrent(digits).bytes, Picture(static_cast<unsigned char>(mark)));
            }
        });
    for (std::thread& thread : threads)
        thread.join();
}

TEST_F(KxGeFetcherThreads, NobodyWaitsForAnotherThreadsSlowPacket)
{
    ASSERT_EQ(FetchCurrent("21").bytes, Picture(5));
    Testing::Gate& gate = m_earth.Hold("q2-0213-q.42");
    const int before = m_earth.Server().RequestCount();
    std::thread slow([this] { EXPECT_EQ(FetchCurrent("2130").bytes, Picture(81)); });
    m_earth.Server().WaitForRequests(before + 1);
    // The other's packet is under way, and stays so until these have ended.
    EXPECT_EQ(FetchCurrent("20").bytes, Picture(6));
    EXPECT_EQ(FetchCurrent("2030").bytes, Picture(82));
    gate.Open();
    slow.join();
}

TEST_F(KxGeFetcherThreads, EachKnowsItsOwnLastFetch)
{
    ASSERT_EQ(FetchCurrent("21").info.m_nLevel, 2);
    std::thread other([this] {
        EXPECT_EQ(KxGeFetcher::GetLastFetchInfo().m_nLevel, 0);
        EXPECT_EQ(FetchCurrent("2130").info.m_nLevel, 4);
    });
    other.join();
    EXPECT_EQ(KxGeFetcher::GetLastFetchInfo().m_nLevel, 2);
    KxGeFetcher::ClearLastFetchInfo();
    EXPECT_EQ(KxGeFetcher::GetLastFetchInfo().m_nLevel, 0);
}

TEST_F(KxGeFetcherThreads, TheServerMayChangeMeanwhile)
{
    std::atomic<bool> isDone{false};
    std::thread setter([&] {
        while (!isDone)
            KxGeFetcher::SetServer(m_earth.Url().c_str());
    });
    for (int i = 0; i < 20; ++i)
        EXPECT_EQ(FetchCurrent("2130").bytes, Picture(81));
    isDone = true;
    setter.join();
}

} // namespace
} // namespace KxC::EarthTest
