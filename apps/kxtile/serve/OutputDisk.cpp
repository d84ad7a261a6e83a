// SPDX-License-Identifier: MIT
#include "serve/OutputDisk.h"

#include "KxImgUtility.h"
#include "KxRawDataTypeCache.h"
#include "KxTileFetcher.h"

#include <fmt/format.h>

#include <cstdlib>

namespace KxTileHost::Serve {

namespace {

constexpr auto kOutput = KxC::KxRawDataTypeCacheManager::CacheType_OutputTile;

/// One part of the cache for each size and format of a source. Anybody may ask for any day of the
/// calendar, and each would be a file of its own: tiles of a day are kept in memory alone.
/// @return -1 when the tile is not kept
int OpenPart(const Source& source, const TileRequest& tile)
{
    if (KxC::KxTileFetcher::m_sbLocalCacheUsed == 0 || source.m_outputName.empty() ||
        tile.m_day != 0)
        return -1;
    std::string name = fmt::format("{}-{}", source.m_outputName, tile.m_size);
    if (tile.m_format != TileFormat::Natural)
        name += fmt::format("-{}", ExtensionOf(tile.m_format));
    return KxC::m_gRawDataTypeCacheManager.OpenSubTreeCache(kOutput, name.c_str());
}

int RowFromSouth(const TileRequest& tile)
{
    return (1 << tile.m_z) - 1 - tile.m_y;
}

} // namespace

std::unique_ptr<KxC::KxRawData> LoadOutput(const Source& source, const TileRequest& tile)
{
    const int part = OpenPart(source, tile);
    if (part < 0)
        return nullptr;
    KxC::KxSRawDataTypeCacheItem item;
    const KxC::GetchResult result = KxC::m_gRawDataTypeCacheManager.LoadTreeData(
        kOutput, part, tile.m_z, RowFromSouth(tile), tile.m_x, item);
    auto bytes = std::make_unique<KxC::KxRawData>();
    bytes->Attach(item.m_pData, item.m_nSize);
    if (result != KxC::GetchResult_HasData || item.m_nSize == 0)
        return nullptr;
    bytes->SetExt(KxC::KxImgUtility::TellImgExt(bytes->GetData(), bytes->GetSize()));
    return bytes;
}

void SaveOutput(const Source& source, const TileRequest& tile, const KxC::KxRawData& bytes)
{
    const int part = OpenPart(source, tile);
    if (part < 0)
        return;
    KxC::KxSRawDataTypeCacheItem item;
    item.m_nState = KxC::GetchResult_HasData;
    item.m_nSize = bytes.GetSize();
    item.m_pData = bytes.GetData();
    KxC::m_gRawDataTypeCacheManager.SaveTreeData(
        kOutput, part, tile.m_z, RowFromSouth(tile), tile.m_x, item);
}

} // namespace KxTileHost::Serve
