// SPDX-License-Identifier: MIT
#include "KxMutex.h"

#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <thread>

namespace KxC {
namespace {

TEST(KxMutex, MayBeTakenAgainByItsHolder)
{
    KxMutex mutex(false);
    const std::lock_guard<KxMutex> outer(mutex);
    const std::lock_guard<KxMutex> inner(mutex);
}

TEST(KxMutex, KeepsTwoThreadsApart)
{
    KxMutex mutex(false);
    int count = 0;
    const auto add = [&] {
        for (int i = 0; i < 20000; ++i) {
            const std::lock_guard<KxMutex> lock(mutex);
            ++count;
        }
    };
    std::thread other(add);
    add();
    other.join();
    EXPECT_EQ(count, 40000);
}

TEST(KxMutex, IsHeldFromTheStartWhenInitiallyOwned)
{
    KxMutex mutex(true);
    std::atomic<bool> released = false;
    bool sawRelease = false;
    std::thread other([&] {
        const std::lock_guard<KxMutex> lock(mutex);
        sawRelease = released;
    });
    released = true;
    mutex.unlock();
    other.join();
    EXPECT_TRUE(sawRelease);
}

TEST(KxMutex, StaysHeldUntilEachLockIsGivenBack)
{
    KxMutex mutex(false);
    mutex.lock();
    mutex.lock();
    mutex.unlock();
    std::atomic<bool> released = false;
    bool sawRelease = false;
    std::thread other([&] {
        const std::lock_guard<KxMutex> lock(mutex);
        sawRelease = released;
    });
    released = true;
    mutex.unlock();
    other.join();
    EXPECT_TRUE(sawRelease);
}

} // namespace
} // namespace KxC
