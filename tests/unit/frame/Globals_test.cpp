// SPDX-License-Identifier: MIT
#include "KxTSDParam.h"
#include "KxTileFetcher.h"

#include <gtest/gtest.h>

namespace KxC {
namespace {

// Read while this program's own globals are being built, as a host's would.
const unsigned char g_memCacheAtStart = KxTileFetcher::m_sbMemCacheUsed;
const unsigned char g_localCacheAtStart = KxTileFetcher::m_sbLocalCacheUsed;

TEST(Globals, SwitchesReadMemoryOnAndDiskOffAfterLoading)
{
    EXPECT_EQ(g_memCacheAtStart, 1);
    EXPECT_EQ(g_localCacheAtStart, 0);
}

TEST(Globals, TheSourceRegistryServesTheProcess)
{
    KxTSDParamItem* item = m_gTSDParamManager.GetTSDParam(
        "http://globals.test/{$x}", "", 10, 0, 0, 0, 256, "", 0, KxTime());
    ASSERT_NE(item, nullptr);
    EXPECT_EQ(m_gTSDParamManager.GetTSDParam("http://globals.test/{$x}"), item);
}

} // namespace
} // namespace KxC
