// SPDX-License-Identifier: MIT
// The operations that leave a tile as a file of the cache folder tree.
#include "KxTSDParam.h"
#include "KxTileFetcher.h"
#include "KxUtility.h"
#include "TileFile.h"

#include <exception>

namespace KxC {

namespace {

constexpr int kSchemeEarthHistory = 8;
constexpr int kHistoryTileSize = 256;

TileFetch FetchOf(KxTSDParamItem* source, const TileFileRequest& request, int requestParam)
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
        const TileFileRequest request{.m_strFolder = source->m_strHashKey,
                                      .m_strAskedExt = imageFormat,
                                      .m_nX = x,
                                      .m_nY = y,
                                      .m_nZ = z,
                                      .m_nTileSize = tileSize};
        return FetchTileFile(path, request, FetchOf(source, request, requestParam));
    });
}

unsigned char KxTileFetcher::FetchWMTileFile2(
    KxString& path, const KxString& key, int x, int y, int z, int tileSize, int requestParam)
{
    return WithoutThrowing(path, [&] {
        KxTSDParamItem* const source = m_gTSDParamManager.GetTSDParam(key);
        const TileFileRequest request{.m_strFolder = source->m_strHashKey,
                                      .m_strAskedExt = source->m_strImageFormat,
                                      .m_nX = x,
                                      .m_nY = y,
                                      .m_nZ = z,
                                      .m_nTileSize = tileSize,
                                      .m_bMakesFolder = true};
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
        const TileFileRequest request{.m_strFolder = source->m_strHashKey,
                                      .m_strAskedExt = "jpeg",
                                      .m_nX = x,
                                      .m_nY = y,
                                      .m_nZ = z,
                                      .m_nTileSize = tileSize};
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
        const TileFileRequest request{.m_strFolder = KxUtility::GetValidHashKey(dataPath),
                                      .m_strAskedExt = imageFormat,
                                      .m_nX = x,
                                      .m_nY = y,
                                      .m_nZ = z,
                                      .m_nTileSize = tileSize,
                                      .m_bDotBeforeOwnExt = true};
        return FetchTileFile(path, request, [&]() {
            KxRawData* tile = nullptr;
            FetchTileFromRaster(tile, dataPath, x, y, z, tileSize);
            return tile;
        });
    });
}

} // namespace KxC
