// SPDX-License-Identifier: MIT
#pragma once

#include "KxContainers.h"
#include "KxGeFetcher.h"
#include "KxLuaToolkit.h"
#include "KxMutex.h"
#include "KxString.h"
#include "KxTileExport.h"
#include "KxTime.h"
#include "KxUtility.h"

#include <list>
#include <memory>

namespace KxC {

/// One tile source: where its tiles are, on which grid and datum, and how they are asked for.
/// Filled once, by one of the two loaders; afterwards only read, by any thread.
class KXTILE_API KxTSDParamItem
{
public:
    KxTSDParamItem();
    /// Frees the history-imagery fetcher too.
    ~KxTSDParamItem();
    KxTSDParamItem(const KxTSDParamItem&) = delete;
    KxTSDParamItem& operator=(const KxTSDParamItem&) = delete;

    /// Fills the record from a definition file (docs/tile-sources.md). A file that cannot be read
    /// is logged and leaves a record with an empty template.
    void LoadFromTSDFile(const KxString& path);

    /// Fills the record from plain parameters. Nothing is checked.
    /// @param urlTemplate   with "{$x}", "{$y}", "{$z}" and optionally "{$serverpart}" in front;
    ///                      "%d" and "%s" in it are conversions too, "%%" is one percent sign
    /// @param serverParts   separated by blanks or commas; may be empty
    /// @param tileScheme    m_nTileScheme
    /// @param datum         m_nDatum
    /// @param southToNorth  1 when the service counts rows from the south
    /// @param levelOffset   added to the level in URLs
    /// @param tileSize      pixels
    /// @param imageFormat   without effect: m_strImageFormat keeps its value
    /// @param historyDataUsed  nonzero for history imagery
    /// @param historyTime   its date
    void LoadFromParam(const KxString& urlTemplate,
                       const KxString& serverParts,
                       int tileScheme,
                       int datum,
                       int southToNorth,
                       int levelOffset,
                       int tileSize,
                       const KxString& imageFormat,
                       unsigned char historyDataUsed,
                       const KxTime& historyTime);

    unsigned char m_bFromDefinitionFile;   ///< nonzero after LoadFromTSDFile, readable file or not
    KxString m_strKey;                     ///< the registry's key of the record
    int m_nTileScheme;                     ///< 0 geographic, 3 6 10 11 Web Mercator, 4 13 Baidu,
                                           ///< 5 14 three-quarter rows, 8 history imagery, 9
                                           ///< geographic on WGS 84
    int m_nDatum;                          ///< 0 WGS 84, 1 GCJ-02, 2 BD-09
    KxString m_strImageFormat;             ///< ends in "gzip" for compressed tiles, "png" for PNG
    KxString m_strAttr1;                   ///< kept for hosts
    KxString m_strVersion;                 ///< of the imagery; in history-imagery URLs
    KxString m_strAttr2;                   ///< kept for hosts
    KxString m_strAttr3;                   ///< kept for hosts
    KxString m_strUrlTemplate;             ///< "%s" server part (first), three "%d" tile numbers
    KxString m_strRowDirection;            ///< as read
    KxString m_strAttr4;                   ///< kept for hosts
    KxString m_strUserAgent;               ///< sent with every request
    KxArray<KxString> m_arrRequestHeaders; ///< header lines sent with every request
    KxString m_strAttr5;                   ///< kept for hosts
    KxString m_strHashKey;                 ///< names the source's caches
    KxString m_strServerParts;             ///< as read
    unsigned char m_bOption1;              ///< kept for hosts
    unsigned char m_bOption2;              ///< kept for hosts
    unsigned char m_bOption3;              ///< kept for hosts
    unsigned char m_bHasServerPart;        ///< nonzero when the template takes a server part
    KxSLevelBounds m_levelBounds;          ///< kept for hosts
    int m_nTileSize;                       ///< pixels
    int m_nValue1;                         ///< kept for hosts
    int m_nValue2;                         ///< kept for hosts
    int m_nValue3;                         ///< kept for hosts
    int m_nLevelOffset;                    ///< added to the level in URLs
    int m_nSouthToNorth;                   ///< 1 when the service counts rows from the south
    int m_nAxisOrder;                      ///< 0 ZXY, 1 XYZ, 2 ZYX, 3 XZY, 4 YXZ, 5 YZX
    KxArray<KxString> m_arrServerParts;
    unsigned char m_bLuaScripted; ///< nonzero when the script makes the URLs
    KxLuaToolkit m_luaToolkit;
    unsigned char m_bHistoryDataUsed;
    KxTime m_historyTime;
    KxGeFetcher* m_pGeFetcher; ///< owned; made for scheme 8 only
};

/// Owns the tile sources of the process, one record per key. Records live until the registry is
/// destroyed, so that the pointers it hands out stay valid. Any thread.
class KXTILE_API KxTSDParamManager
{
public:
    KxTSDParamManager();
    ~KxTSDParamManager();
    KxTSDParamManager(const KxTSDParamManager&) = delete;
    KxTSDParamManager& operator=(const KxTSDParamManager&) = delete;

    /// The source of a definition file, loaded on first use. The path is the key as it stands,
    /// without regard to case.
    /// @return never null; a file that cannot be read gives a record with an empty template
    KxTSDParamItem* GetTSDParam(const KxString& path);

    /// The source of a URL template (with its date, for history imagery), made from the
    /// parameters of the first request for it; see KxTSDParamItem::LoadFromParam.
    KxTSDParamItem* GetTSDParam(const KxString& urlTemplate,
                                const KxString& serverParts,
                                int tileScheme,
                                int datum,
                                int southToNorth,
                                int levelOffset,
                                int tileSize,
                                const KxString& imageFormat,
                                unsigned char historyDataUsed,
                                const KxTime& historyTime);

private:
    std::list<std::unique_ptr<KxTSDParamItem>> m_listItems;
    KxMutex m_mutex;
};

KXTILE_API extern KxTSDParamManager m_gTSDParamManager;

} // namespace KxC
