// SPDX-License-Identifier: MIT
#include "KxCoordSysTrans.h"
#include "KxProjManagerCleaner.h"
#include "PluginFolder.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

namespace KxC::Test {

namespace {

constexpr int kThreads = 8;
constexpr int kRounds = 200;

void InThreads(const std::function<void(int)>& work)
{
    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    for (int i = 0; i < kThreads; ++i)
        threads.emplace_back(work, i);
    for (std::thread& thread : threads)
        thread.join();
}

KxPoint3d PlaceOf(int i)
{
    return {9.0 + 0.01 * (i % 100), 45.0 + 0.05 * (i % 50), 0};
}

} // namespace

TEST(GdalAccessorThreads, ConvertAtOnceWithOneTransform)
{
    UseBuiltPlugin();
    const KxCoordSysTrans* transform =
        m_gCoordSysTransManager.GetKxCoordSysTrans("32632", ProjectStringType_EPSG);
    std::array<KxPoint3d, kRounds> wanted;
    for (int i = 0; i < kRounds; ++i)
        transform->WGS84PtToSrcPt(PlaceOf(i), wanted[static_cast<std::size_t>(i)]);
    ASSERT_GT(wanted[0].x, 100000);

    std::atomic<int> wrong = 0;
    InThreads([&](int) {
        for (int i = 0; i < kRounds; ++i) {
            KxPoint3d out;
            transform->WGS84PtToSrcPt(PlaceOf(i), out);
            const KxPoint3d& is = wanted[static_cast<std::size_t>(i)];
            if (out.x != is.x || out.y != is.y)
                ++wrong;
        }
    });
    EXPECT_EQ(wrong, 0);
}

TEST(GdalAccessorThreads, AskAtOnceForTheSameTransform)
{
    UseBuiltPlugin();
    std::array<KxCoordSysTrans*, kThreads> got = {};
    InThreads([&](int i) {
        got[static_cast<std::size_t>(i)] =
            m_gCoordSysTransManager.GetKxCoordSysTrans("3035", ProjectStringType_EPSG);
    });
    for (const KxCoordSysTrans* transform : got)
        EXPECT_EQ(transform, got[0]);
}

TEST(GdalAccessorThreads, MakeAndDestroyTheirOwn)
{
    std::atomic<int> right = 0;
    InThreads([&](int i) {
        for (int round = 0; round < 5; ++round) {
            const std::unique_ptr<KxRasterDataAccessor> accessor = NewAccessor();
            if (accessor == nullptr || accessor->SetEPSG(i % 2 == 0 ? "32632" : "3857") == 0)
                continue;
            KxPoint3d point = PlaceOf(i);
            accessor->WGS84PtToSrcPt(point, point);
            right += point.x > 100000 ? 1 : 0;
        }
    });
    EXPECT_EQ(right, kThreads * 5);
}

TEST(GdalAccessorThreads, GoOnWhileEverythingIdleIsReleased)
{
    const std::unique_ptr<KxRasterDataAccessor> accessor = NewAccessor();
    ASSERT_NE(accessor, nullptr);
    ASSERT_NE(accessor->SetEPSG("32632"), 0);
    std::atomic<int> right = 0;
    InThreads([&](int thread) {
        for (int i = 0; i < 20; ++i) {
            if (thread == 0)
                const KxProjManagerCleaner releases;
            KxPoint3d point = PlaceOf(i);
            accessor->WGS84PtToSrcPt(point, point);
            right += point.x > 100000 ? 1 : 0;
        }
    });
    EXPECT_EQ(right, kThreads * 20);
}

} // namespace KxC::Test
