// SPDX-License-Identifier: MIT
#include "serve/OutputDisk.h"

#include "KxImgUtility.h"
#include "KxRawDataTypeCache.h"
#include "KxTileFetcher.h"
#include "serve/KeptNames.h"
#include "serve/SourceFiles.h"

#include <fmt/format.h>

namespace KxTileHost::Serve {

namespace {

constexpr auto kOutput = KxC::KxRawDataTypeCacheManager::CacheType_OutputTile;

/// One part of the cache for each size and format of a source. Anybody may ask for any day of the
/// calendar, and each would be a file of its own: tiles of a day are kept in memory alone.
/// @return empty when the tile is not kept
std::string PartFor(const Source& source, const TileRequest& tile)
{
    if (KxC::KxTileFetcher::m_sbLocalCacheUsed == 0 || source.m_outputName.empty() ||
        tile.m_day != 0)
        return "";
    return OutputPartName(source.m_outputName, tile.m_size, tile.m_format);
}

int Open(const std::string& part)
{
    return part.empty() ? -1
                        : KxC::m_gRawDataTypeCacheManager.OpenSubTreeCache(kOutput, part.c_str());
}

/// "city.toml, 512 pixels, png"; the name of the part says little about whose it is.
std::string Describe(const Source& source, const TileRequest& tile)
{
    const std::string what = source.m_path.empty() ? source.m_name : WithoutFolders(source.m_path);
    const std::string format = ExtensionOf(tile.m_format);
    return fmt::format("{}, {} pixels{}{}", what, tile.m_size, format.empty() ? "" : ", ", format);
}

int RowFromSouth(const TileRequest& tile)
{
    return (1 << tile.m_z) - 1 - tile.m_y;
}

} // namespace

std::unique_ptr<KxC::KxRawData> LoadOutput(const Source& source, const TileRequest& tile)
{
    const int part = Open(PartFor(source, tile));
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
    const std::string name = PartFor(source, tile);
    const int part = Open(name);
    if (part < 0)
        return;
    KxC::KxSRawDataTypeCacheItem item;
    item.m_nState = KxC::GetchResult_HasData;
    item.m_nSize = bytes.GetSize();
    item.m_pData = bytes.GetData();
    KxC::m_gRawDataTypeCacheManager.SaveTreeData(
        kOutput, part, tile.m_z, RowFromSouth(tile), tile.m_x, item);
    KxC::m_gRawDataTypeCacheManager.DescribeSubTree(
        kOutput, name.c_str(), Describe(source, tile).c_str());
}

void DescribeSourceTiles(const Source& source)
{
    if (KxC::KxTileFetcher::m_sbLocalCacheUsed != 0 && source.m_item != nullptr &&
        !source.m_path.empty())
        KxC::m_gRawDataTypeCacheManager.DescribeSubTree(
            KxC::KxRawDataTypeCacheManager::CacheType_SourceTile,
            source.m_item->m_strHashKey,
            WithoutFolders(source.m_path).c_str());
}

} // namespace KxTileHost::Serve
