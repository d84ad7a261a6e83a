// SPDX-License-Identifier: MIT
#include "KxMath.h"
#include "KxTileFetcher.h"
#include "SourceTexts.h"
#include "TileGrid.h"

#include <exception>

namespace KxC {

namespace {

/// Whether the service's own tile is the wanted one already.
bool IsDelivered(const KxTSDParamItem& source)
{
    return source.m_nDatum == KxDatum_WGS84 &&
           GridOfScheme(source.m_nTileScheme) == TileGrid::WebMercator;
}

/// Whether blocks of the service's tiles make the wanted one.
bool IsJoined(const KxTSDParamItem& source)
{
    return source.m_nDatum != KxDatum_WGS84 &&
           (GridOfScheme(source.m_nTileScheme) == TileGrid::WebMercator ||
            source.m_nTileScheme == kSchemeShiftedMercator);
}

} // namespace

unsigned char KxTileFetcher::FetchWMTileByParam(
    KxRawData*& out, KxTSDParamItem* source, int x, int y, int z, int tileSize, int requestParam)
{
    if (source == nullptr)
        return 0;
    out = nullptr;
    const bool sameSize = tileSize == source->m_nTileSize;
    if (sameSize && IsDelivered(*source))
        return FetchWMTile4(out, source, x, y, z, tileSize, requestParam);
    if (sameSize && IsJoined(*source))
        return FetchWMTile5(out, source, x, y, z, tileSize, requestParam);
    return FetchWMTile3(out, source, x, y, z, tileSize, requestParam);
}

unsigned char KxTileFetcher::FetchWMTile2(
    KxRawData*& out, const KxString& key, int x, int y, int z, int tileSize, int requestParam)
try {
    out = nullptr;
    KxTSDParamItem* source = m_gTSDParamManager.GetTSDParam(key);
    return FetchWMTileByParam(out, source, x, y, z, tileSize, requestParam);
} catch (const std::exception&) {
    return 0;
}

unsigned char KxTileFetcher::FetchWMTile(KxRawData*& out,
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
try {
    out = nullptr;
    KxTSDParamItem* source = m_gTSDParamManager.GetTSDParam(urlTemplate,
                                                            serverParts,
                                                            scheme,
                                                            datum,
                                                            southToNorth,
                                                            levelOffset,
                                                            sourceTileSize,
                                                            imageFormat,
                                                            0,
                                                            KxTime());
    return FetchWMTileByParam(out, source, x, y, z, tileSize, requestParam);
} catch (const std::exception&) {
    return 0;
}

unsigned char KxTileFetcher::FetchGEHistoryTile(KxRawData*& out,
                                                const KxString& urlTemplate,
                                                const KxTime& date,
                                                int x,
                                                int y,
                                                int z,
                                                int tileSize,
                                                int requestParam)
try {
    out = nullptr;
    KxTSDParamItem* source = m_gTSDParamManager.GetTSDParam(
        urlTemplate, "", kSchemeEarthHistory, KxDatum_WGS84, 0, 0, 256, "jpeg", 1, date);
    return FetchWMTile3(out, source, x, y, z, tileSize, requestParam);
} catch (const std::exception&) {
    return 0;
}

} // namespace KxC
