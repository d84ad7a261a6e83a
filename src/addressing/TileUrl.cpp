// SPDX-License-Identifier: MIT
#include "TileUrl.h"

#include "KxTileFetcher.h"
#include "ServerRotation.h"
#include "SourceTexts.h"
#include "TileNumbers.h"
#include "UrlTemplate.h"

#include <exception>

namespace KxC {

namespace {

/// Shared by all sources of the process.
ServerRotation g_serverRotation;

// Levels, rows and columns come from hosts unchecked. Sums wrap like the 32-bit numbers that they
// are, instead of being undefined.

int WrappingAdd(int a, int b)
{
    return static_cast<int>(static_cast<unsigned>(a) + static_cast<unsigned>(b));
}

int WrappingNegate(int value)
{
    return static_cast<int>(0U - static_cast<unsigned>(value));
}

int TurnedRow(int tilesPerAxis, int row)
{
    return WrappingAdd(WrappingAdd(tilesPerAxis, WrappingNegate(row)), -1);
}

/// The service's row under the scheme's own rule or the source's direction of counting.
int ServiceRow(const KxTSDParamItem& source, const SourceTile& tile, RowRule rowRule)
{
    const int tilesPerAxis = TilesPerAxis(tile.m_level);
    const bool threeQuarter = source.m_nTileScheme == kSchemeTianDiTuLatLon ||
                              source.m_nTileScheme == kSchemeThreeQuarterRows;
    if (threeQuarter)
        return TruncateToInt(tilesPerAxis * 0.75 - tile.m_row - 1);
    const bool turn = rowRule == RowRule::AsSourceCounts && source.m_nSouthToNorth == 0;
    return turn ? TurnedRow(tilesPerAxis, tile.m_row) : tile.m_row;
}

/// The server part whose turn it is; empty without a list. The turn passes on all the same.
KxString TakeServerPart(KxTSDParamItem& source)
{
    if (source.m_bHasServerPart == 0)
        return {};
    const int turn = g_serverRotation.Take();
    const int count = source.m_arrServerParts.GetSize();
    return count > 0 ? source.m_arrServerParts[turn % count] : KxString();
}

KxString FillWithServer(const KxTSDParamItem& source,
                        const KxString& urlTemplate,
                        const KxString& server,
                        int first,
                        int second,
                        int third)
{
    if (source.m_bHasServerPart != 0)
        return FillUrlTemplate(urlTemplate, {server, first, second, third});
    return FillUrlTemplate(urlTemplate, {first, second, third});
}

KxString FillInAxisOrder(const KxTSDParamItem& source,
                         const KxString& urlTemplate,
                         const KxString& server,
                         int x,
                         int y,
                         int z)
{
    switch (source.m_nAxisOrder) {
    case 1:
        return FillWithServer(source, urlTemplate, server, x, y, z);
    case 2:
        return FillWithServer(source, urlTemplate, server, z, y, x);
    case 3:
        return FillWithServer(source, urlTemplate, server, x, z, y);
    case 4:
        return FillWithServer(source, urlTemplate, server, y, x, z);
    case 5:
        return FillWithServer(source, urlTemplate, server, y, z, x);
    default:
        return FillWithServer(source, urlTemplate, server, z, x, y);
    }
}

/// Baidu writes -5 as M5: marks a negative number in the template and makes it positive.
void MarkNegative(KxString& urlTemplate, const char* plain, const char* marked, int& number)
{
    if (number >= 0)
        return;
    urlTemplate.Replace(plain, marked);
    number = WrappingNegate(number);
}

KxString BaiduUrl(const KxTSDParamItem& source, const KxString& server, int x, int y, int z)
{
    KxString urlTemplate = source.m_strUrlTemplate;
    MarkNegative(urlTemplate, "x=%d", "x=M%d", x);
    MarkNegative(urlTemplate, "y=%d", "y=M%d", y);
    return FillInAxisOrder(source, urlTemplate, server, x, y, z);
}

KxString EarthHistoryUrl(const KxTSDParamItem& source, const SourceTile& tile)
{
    return FillUrlTemplate(
        "%s&type=image&x=%d&y=%d&z=%d&v=%s",
        {source.m_strUrlTemplate, tile.m_col, tile.m_row, tile.m_level, source.m_strVersion});
}

KxString QuadKeyUrl(const KxTSDParamItem& source, const KxString& server, int x, int y, int z)
{
    const KxString quadKey = KxTileFetcher::BingMapTileToQuadKey(y, x, z);
    if (source.m_bHasServerPart != 0)
        return FillUrlTemplate(source.m_strUrlTemplate, {server, quadKey});
    return FillUrlTemplate(source.m_strUrlTemplate, {quadKey});
}

} // namespace

KxString BuildTileUrl(KxTSDParamItem& source, const SourceTile& tile, RowRule rowRule)
{
    const KxString server = TakeServerPart(source);
    if (source.m_nTileScheme == kSchemeEarthHistory)
        return EarthHistoryUrl(source, tile);
    const int x = tile.m_col;
    const int y = ServiceRow(source, tile, rowRule);
    // Scripts and quadkeys know the tile's own level; the offset belongs to templates.
    if (source.m_bLuaScripted != 0)
        return source.m_luaToolkit.GetTileURL(tile.m_level, y, x);
    if (source.m_nTileScheme == kSchemeBingMap)
        return QuadKeyUrl(source, server, x, y, tile.m_level);
    const int z = WrappingAdd(tile.m_level, source.m_nLevelOffset);
    if (source.m_nTileScheme == kSchemeBaidu)
        return BaiduUrl(source, server, x, y, z);
    return FillInAxisOrder(source, source.m_strUrlTemplate, server, x, y, z);
}

KxString KxTileFetcher::GetURL(KxTSDParamItem* source, int z, int y, int x)
try {
    if (source == nullptr)
        return {};
    return BuildTileUrl(*source, {z, y, x}, RowRule::AsSourceCounts);
} catch (const std::exception&) {
    return {};
}

} // namespace KxC
