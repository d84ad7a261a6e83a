// SPDX-License-Identifier: MIT
#include "KxRasterAccessorManager.h"

#include "unit/support/ScriptedRasters.h"

#include <gmock/gmock.h>

#include <memory>
#include <set>
#include <thread>

namespace KxC {
namespace {

using ::testing::ElementsAre;

class KxRasterAccessorManagerTest : public ::testing::Test
{
protected:
    Testing::ScriptedRasters m_rasters;
    std::unique_ptr<KxRasterAccessorManager> m_manager =
        std::make_unique<KxRasterAccessorManager>();
};

TEST_F(KxRasterAccessorManagerTest, OpensAPathOnceWhateverItsCase)
{
    KxRasterDataAccessor* first = m_manager->OpenDataAccessor("/maps/City.tif");
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(m_manager->OpenDataAccessor("/maps/City.tif"), first);
    EXPECT_EQ(m_manager->OpenDataAccessor("/MAPS/city.TIF"), first);
    EXPECT_THAT(m_rasters.m_calls, ElementsAre("Open /maps/City.tif"));
}

TEST_F(KxRasterAccessorManagerTest, OpensTwoTextsOfOneFileTwice)
{
    EXPECT_NE(m_manager->OpenDataAccessor("/maps/a.tif"),
              m_manager->OpenDataAccessor("/maps/./a.tif"));
}

TEST_F(KxRasterAccessorManagerTest, HasNothingWherePluginOrFileIsMissing)
{
    EXPECT_EQ(m_manager->OpenDataAccessor("/maps/a.xyz"), nullptr);
    m_rasters.m_available = false;
    EXPECT_EQ(m_manager->OpenDataAccessor("/maps/a.tif"), nullptr);
    m_rasters.m_available = true;
    m_rasters.m_opens = false;
    EXPECT_EQ(m_manager->OpenDataAccessor("/maps/a.tif"), nullptr);
    EXPECT_THAT(m_rasters.m_calls, ElementsAre("destroyed", "Open /maps/a.tif", "destroyed"));
}

TEST_F(KxRasterAccessorManagerTest, TriesAgainAfterAFailure)
{
    m_rasters.m_opens = false;
    EXPECT_EQ(m_manager->OpenDataAccessor("/maps/a.tif"), nullptr);
    m_rasters.m_opens = true;
    EXPECT_NE(m_manager->OpenDataAccessor("/maps/a.tif"), nullptr);
}

TEST_F(KxRasterAccessorManagerTest, HasNothingWhereMemoryIsWantingAndTriesAgain)
{
    m_rasters.m_hasMemory = false;
    EXPECT_EQ(m_manager->OpenDataAccessor("/maps/a.tif"), nullptr);
    EXPECT_THAT(m_rasters.m_calls, ElementsAre("Open /maps/a.tif", "destroyed"));
    m_rasters.m_hasMemory = true;
    EXPECT_NE(m_manager->OpenDataAccessor("/maps/a.tif"), nullptr);
}

TEST_F(KxRasterAccessorManagerTest, DestroysWhatItOpened)
{
    m_manager->OpenDataAccessor("/maps/a.tif");
    m_manager->OpenDataAccessor("/maps/b.tif");
    m_rasters.m_calls.clear();
    m_manager.reset();
    EXPECT_THAT(m_rasters.m_calls, ElementsAre("destroyed", "destroyed"));
}

TEST_F(KxRasterAccessorManagerTest, ManyThreadsOpenAFileOnce)
{
    std::set<KxRasterDataAccessor*> found;
    std::mutex mutex;
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i)
        threads.emplace_back([&] {
            KxRasterDataAccessor* accessor = m_manager->OpenDataAccessor("/maps/a.tif");
            const std::lock_guard<std::mutex> lock(mutex);
            found.insert(accessor);
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(found.size(), 1U);
    EXPECT_THAT(m_rasters.m_calls, ElementsAre("Open /maps/a.tif"));
}

} // namespace
} // namespace KxC
