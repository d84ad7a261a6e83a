// SPDX-License-Identifier: MIT
#include "serve/LruCache.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>

namespace {

using Cache = KxTileHost::Serve::LruCache<int, std::shared_ptr<int>, std::hash<int>>;

TEST(LruCache, DropsTheLeastRecentlyUsedBeyondItsBudget)
{
    Cache cache(100);
    for (const int key : {1, 2, 3, 4})
        cache.Put(key, std::make_shared<int>(key), 25);
    EXPECT_NE(cache.Find(1), nullptr); // used again
    cache.Put(5, std::make_shared<int>(5), 25);
    EXPECT_EQ(cache.Find(2), nullptr);
    EXPECT_EQ(*cache.Find(1), 1);
    EXPECT_EQ(*cache.Find(5), 5);
    EXPECT_EQ(cache.Bytes(), 100U);
    EXPECT_EQ(cache.Count(), 4U);
}

TEST(LruCache, ReplacesAValueWithItsBytes)
{
    Cache cache(100);
    cache.Put(1, std::make_shared<int>(1), 60);
    cache.Put(1, std::make_shared<int>(7), 30);
    EXPECT_EQ(*cache.Find(1), 7);
    EXPECT_EQ(cache.Bytes(), 30U);
}

TEST(LruCache, DoesNotKeepWhatIsBeyondTheBudgetAlone)
{
    Cache cache(100);
    cache.Put(1, std::make_shared<int>(1), 50);
    cache.Put(2, std::make_shared<int>(2), 101);
    EXPECT_EQ(cache.Find(2), nullptr);
    EXPECT_NE(cache.Find(1), nullptr);
    Cache none(0);
    none.Put(1, std::make_shared<int>(1), 1);
    EXPECT_EQ(none.Count(), 0U);
}

TEST(LruCache, LeavesValuesToWhoHasThem)
{
    Cache cache(10);
    cache.Put(1, std::make_shared<int>(1), 10);
    const std::shared_ptr<int> held = cache.Find(1);
    cache.Put(2, std::make_shared<int>(2), 10);
    EXPECT_EQ(cache.Find(1), nullptr);
    EXPECT_EQ(*held, 1);
}

} // namespace
