// SPDX-License-Identifier: MIT
#include "Operation.h"

#include "KxTileFetcher.h"
#include "KxWMTileDataCache.h"

#include <atomic>

namespace KxC {

namespace {

thread_local int t_depth = 0;

bool ReadSwitch(unsigned char& value)
{
    return std::atomic_ref<unsigned char>(value).load(std::memory_order_relaxed) != 0;
}

} // namespace

Operation::Operation()
{
    if (t_depth++ == 0)
        m_gWMTileDataCacheManager.ReleaseThreadTiles();
}

Operation::~Operation()
{
    --t_depth;
}

CacheSwitches CacheSwitches::Read()
{
    return {ReadSwitch(KxTileFetcher::m_sbMemCacheUsed),
            ReadSwitch(KxTileFetcher::m_sbLocalCacheUsed)};
}

} // namespace KxC
