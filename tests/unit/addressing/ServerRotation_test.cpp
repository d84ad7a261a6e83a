// SPDX-License-Identifier: MIT
#include "ServerRotation.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace KxC {
namespace {

TEST(ServerRotation, StartsAtZeroOnceAndWrapsToOne)
{
    ServerRotation rotation;
    for (int expected = 0; expected <= 100001; ++expected)
        ASSERT_EQ(rotation.Take(), expected);
    EXPECT_EQ(rotation.Take(), 1);
    EXPECT_EQ(rotation.Take(), 2);
}

TEST(ServerRotation, GivesEachThreadATurnOfItsOwn)
{
    constexpr int kThreads = 4;
    constexpr int kTurns = 1000;
    ServerRotation rotation;
    std::vector<std::vector<int>> taken(kThreads);
    std::vector<std::thread> threads;
    for (std::vector<int>& turns : taken)
        threads.emplace_back([&rotation, &turns] {
            for (int i = 0; i < kTurns; ++i)
                turns.push_back(rotation.Take());
        });
    for (std::thread& thread : threads)
        thread.join();
    std::vector<bool> seen(kThreads * kTurns, false);
    for (const std::vector<int>& turns : taken)
        for (const int turn : turns) {
            ASSERT_FALSE(seen.at(static_cast<std::size_t>(turn)));
            seen[static_cast<std::size_t>(turn)] = true;
        }
}

} // namespace
} // namespace KxC
