// SPDX-License-Identifier: MIT
#include "KxTileFetcher.h"

#include <cstdlib>

namespace KxC {

namespace {

constexpr auto kTiles = KxRawDataTypeCacheManager::CacheType_SourceTile;

} // namespace

GetchResult KxTileFetcher::LoadFromLocalCache(
    const KxString& hashKey, int level, int row, int col, KxRawData& out)
{
    KxSRawDataTypeCacheItem item;
    const int handle = m_gRawDataTypeCacheManager.OpenSubTreeCache(kTiles, hashKey);
    m_gRawDataTypeCacheManager.LoadTreeData(kTiles, handle, level, row, col, item);
    if (item.m_nState == GetchResult_HasData)
        out.Attach(item.m_pData, item.m_nSize);
    else
        std::free(item.m_pData);
    return item.m_nState;
}

void KxTileFetcher::SaveToLocalCache(
    const KxString& hashKey, int level, int row, int col, unsigned char* bytes, unsigned int size)
{
    KxSRawDataTypeCacheItem item;
    item.m_nState = GetchResult_HasData;
    item.m_nSize = size;
    item.m_pData = bytes;
    const int handle = m_gRawDataTypeCacheManager.OpenSubTreeCache(kTiles, hashKey);
    m_gRawDataTypeCacheManager.SaveTreeData(kTiles, handle, level, row, col, item);
}

void KxTileFetcher::SaveNoDataInfoToLocalCache(const KxString& hashKey, int level, int row, int col)
{
    const int handle = m_gRawDataTypeCacheManager.OpenSubTreeCache(kTiles, hashKey);
    m_gRawDataTypeCacheManager.SaveNoTreeDataInServer(kTiles, handle, level, row, col);
}

} // namespace KxC
