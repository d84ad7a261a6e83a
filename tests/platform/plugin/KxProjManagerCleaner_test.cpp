// SPDX-License-Identifier: MIT
#include "KxProjManagerCleaner.h"

#include <gtest/gtest.h>

#include <string>

namespace KxC {
namespace {

std::string g_released;

void ReleaseFirst()
{
    g_released += '1';
}

void ReleaseSecond()
{
    g_released += '2';
    KxProjManagerCleaner::AddRelease(&ReleaseSecond); // must not wait for itself
}

TEST(KxProjManagerCleaner, CallsEachReleaseOnceTheLastOneFirst)
{
    EXPECT_EQ(KxProjManagerCleaner::AddRelease(nullptr), 0);
    for (int round = 0; round < 2; ++round) {
        g_released.clear();
        {
            const KxProjManagerCleaner cleaner;
            EXPECT_EQ(KxProjManagerCleaner::AddRelease(&ReleaseFirst), 1);
            EXPECT_EQ(KxProjManagerCleaner::AddRelease(&ReleaseSecond), 1);
            EXPECT_EQ(KxProjManagerCleaner::AddRelease(&ReleaseFirst), 1);
            EXPECT_EQ(g_released, "");
        }
        EXPECT_EQ(g_released, "21");
    }
}

} // namespace
} // namespace KxC
