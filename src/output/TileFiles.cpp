// SPDX-License-Identifier: MIT
// The operations that leave a tile as a file of the cache folder tree.
#include "KxTileFetcher.h"
#include "TileFile.h"

#include "KxTSDParam.h"
#include "KxUtility.h"

#include <exception>

namespace KxC {

namespace {

constexpr int kSchemeEarthHistory = 8;
constexpr int kHistoryTileSize = 256;

TileFileRequest RequestFor(const KxTSDParamItem& source, const KxString& ext, int x, int y, int z)
{
    return {source.m_strHashKey, ext, x, y, z, 0, false, false};
}

TileFetch
FetchOf(KxTSDParamItem* source, const TileFileRequest& request, int requestParam)
{
    return [=]() {
        KxRawData* tile = nullptr;
        KxTileFetcher::FetchWMTileByParam(tile,
                                          source,
                                          request.m_nX,
                                          request.m_nY,
                                          request.m_nZ,
                                          request.m_nTileSize,
                                          requestParam);
        return tile;
    };
}

/// Runs a file operation; what it cannot find memory for is a failure like any other.
template <typename Operation>
unsigned char WithoutThrowing(KxString& path, const Operation& operation)
try {
    return operation();
} catch (const std::exception&) {
    path = "";
    return 0;
}

} // namespace

unsigned char KxTileFetcher::FetchWMTileFile(KxString& path,
                                             const KxString& urlTemplate,
                                             const KxString& serverParts,
                                             int x,
                                             int y,
                                             int z,
                                             int scheme,
                                             int datum,
                                             int southToNorth,
                                             int levelOffset,
                                             int sourceTileSize,
                                             int tileSize,
                                             const KxString& imageFormat,
                                             int requestParam)
{
    return WithoutThrowing(path, [&] {
        KxTSDParamItem* const source = m_gTSDParamManager.GetTSDParam(urlTemplate,
                                                                      serverParts,
                                                                      scheme,
                                                                      datum,
                                                                      southToNorth,
                                                                      levelOffset,
                                                                      sourceTileSize,
                                                                      imageFormat,
                                                                      0,
                                                                      KxTime());
        TileFileRequest request = RequestFor(*source, imageFormat, x, y, z);
        request.m_nTileSize = tileSize;
        return FetchTileFile(path, request, FetchOf(source, request, requestParam));
    });
}

unsigned char KxTileFetcher::FetchWMTileFile2(
    KxString& path, const KxString& key, int x, int y, int z, int tileSize, int requestParam)
{
    return WithoutThrowing(path, [&] {
        KxTSDParamItem* const source = m_gTSDParamManager.GetTSDParam(key);
        TileFileRequest request = RequestFor(*source, source->m_strImageFormat, x, y, z);
        request.m_nTileSize = tileSize;
        request.m_bMakesFolder = true;
        return FetchTileFile(path, request, FetchOf(source, request, requestParam));
    });
}

unsigned char KxTileFetcher::FetchGEHistoryTileFile(KxString& path,
                                                    const KxString& urlTemplate,
                                                    const KxTime& date,
                                                    int x,
                                                    int y,
                                                    int z,
                                                    int tileSize,
                                                    int requestParam)
{
    return WithoutThrowing(path, [&] {
        KxTSDParamItem* const source = m_gTSDParamManager.GetTSDParam(
            urlTemplate, "", kSchemeEarthHistory, 0, 0, 0, kHistoryTileSize, "jpeg", 1, date);
        TileFileRequest request = RequestFor(*source, "jpeg", x, y, z);
        request.m_nTileSize = tileSize;
        return FetchTileFile(path, request, [&]() {
            KxRawData* tile = nullptr;
            FetchWMTile3(tile, source, x, y, z, tileSize, requestParam);
            return tile;
        });
    });
}

unsigned char KxTileFetcher::FetchTileFileFromRaster(KxString& path,
                                                     const KxString& imageFormat,
                                                     const KxString& dataPath,
                                                     int x,
                                                     int y,
                                                     int z,
                                                     int tileSize)
{
    return WithoutThrowing(path, [&] {
        const TileFileRequest request{
            KxUtility::GetValidHashKey(dataPath), imageFormat, x, y, z, tileSize, false, true};
        return FetchTileFile(path, request, [&]() {
            KxRawData* tile = nullptr;
            FetchTileFromRaster(tile, dataPath, x, y, z, tileSize);
            return tile;
        });
    });
}

} // namespace KxC
