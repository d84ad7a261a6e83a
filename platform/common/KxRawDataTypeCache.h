// SPDX-License-Identifier: MIT
#pragma once

#include "KxCommonExport.h"
#include "KxRect2d.h"
#include "KxString.h"

#include <vector>

namespace KxC {

/// What a disk cache knows of an address.
enum GetchResult : int {
    GetchResult_Unknown = 3, ///< nothing
    GetchResult_NoData = 4,  ///< that the server has no data there
    GetchResult_HasData = 5, ///< the bytes
};

/// What goes into and comes out of the disk cache.
struct KxSRawDataTypeCacheItem
{
    GetchResult m_nState = GetchResult_Unknown;
    unsigned int m_nSize = 0;         ///< bytes
    unsigned char* m_pData = nullptr; ///< on a load: `malloc` memory handed to the caller
};

/// One source's part of the disk cache, as kept on disk.
struct KxRawDataSubTreeInfo
{
    KxString m_strName;        ///< the hash key
    KxString m_strPath;        ///< of its file
    KxString m_strDescription; ///< as DescribeSubTree left it; empty when nobody did
    unsigned long long m_nTiles = 0;
    unsigned long long m_nNoData = 0; ///< addresses known to have no tile
    unsigned long long m_nBytes = 0;  ///< of the file and its write-ahead log
    bool m_bReadable = true;          ///< false: the counts could not be read
};

/// A damaged database that was set aside, so that a fresh one could take its place.
struct KxRawDataDamagedFile
{
    KxString m_strPath;
    unsigned long long m_nBytes = 0; ///< of the file and its write-ahead log
};

/// How an operation on a whole sub-tree ended.
enum KxRawDataTreeResult : int {
    KxRawDataTreeResult_Done = 0,
    KxRawDataTreeResult_Missing = 1, ///< nothing is kept under that name
    KxRawDataTreeResult_Foreign = 2, ///< the file is another program's, or of a later version
    KxRawDataTreeResult_Damaged = 3, ///< no database, or one that cannot be read to its end
    KxRawDataTreeResult_Failed = 4,  ///< busy, full, not to be opened, or out of memory
    KxRawDataTreeResult_Stopped = 5, ///< the visitor wanted no more
};

/// Receives the tiles of a sub-tree one by one. What it throws ends the walk as failed.
class KXCOMMON_API KxRawDataTileVisitor
{
public:
    virtual ~KxRawDataTileVisitor();
    /// @param row    counted from the south
    /// @param bytes  valid during the call; null when the tile cannot be read from its file
    /// @return false to end the walk
    virtual bool
    Visit(int level, int row, int col, const unsigned char* bytes, unsigned int size) = 0;
};

/// What ExportSubTree writes beside the tiles.
struct KxRawDataExportOptions
{
    KxString m_strPath;        ///< of the .mbtiles file; one that is there is replaced
    KxString m_strName;        ///< for people
    KxString m_strDescription; ///< may be empty
    KxString m_strAttribution; ///< whom the tiles are owed to; may be empty
};

/// What ExportSubTree wrote.
struct KxRawDataExportReport
{
    unsigned long long m_nTiles = 0;
    unsigned long long m_nPictures = 0; ///< of them, stored once each
    unsigned long long m_nSkipped = 0;  ///< not readable, or on no level of the grid
    int m_nMinLevel = 0;
    int m_nMaxLevel = 0;
    KxRect2d m_bounds;    ///< of the last level's tiles; degrees, WGS 84
    KxString m_strFormat; ///< "png", "jpg", "webp" or "gif": that of most tiles
    KxString m_strError;  ///< why it failed
};

/// The disk cache: one SQLite file per sub-tree under KxFile::m_strAppCachePath, readable as
/// MBTiles. Rows count from the south. Several threads and processes may use one folder. A cache
/// that is damaged, full, read-only or not to be opened is a miss on loading and silence on saving.
class KXCOMMON_API KxRawDataTypeCacheManager
{
public:
    enum CacheType : int {
        CacheType_SourceTile = 0, ///< tile bytes as they decode
        CacheType_OutputTile = 1, ///< tiles that a host made of them, encoded
    };

    KxRawDataTypeCacheManager();
    ~KxRawDataTypeCacheManager();
    KxRawDataTypeCacheManager(const KxRawDataTypeCacheManager&) = delete;
    KxRawDataTypeCacheManager& operator=(const KxRawDataTypeCacheManager&) = delete;

    /// @param name  a key of KxUtility::GetValidHashKey; a name that would leave the cache folder
    ///              opens nothing
    /// @return a handle for the operations below, -1 when there is none
    int OpenSubTreeCache(CacheType type, const KxString& name);

    /// @param item  m_nState, m_nSize and m_pData are filled; untouched when nothing is known
    /// @return what item.m_nState says
    GetchResult LoadTreeData(
        CacheType type, int handle, int level, int row, int col, KxSRawDataTypeCacheItem& item);

    /// Stores a copy of the item's bytes in place of what was known of the address.
    /// @return 1 on success
    unsigned char SaveTreeData(CacheType type,
                               int handle,
                               int level,
                               int row,
                               int col,
                               const KxSRawDataTypeCacheItem& item);

    /// Records that the server has no data at the address, in place of what was known of it.
    /// @return 1 on success
    unsigned char SaveNoTreeDataInServer(CacheType type, int handle, int level, int row, int col);

    /// The sub-trees on disk, by name.
    std::vector<KxRawDataSubTreeInfo> ListSubTrees(CacheType type);

    /// The damaged databases that were set aside so far, by name. Nobody reads them any more.
    std::vector<KxRawDataDamagedFile> ListDamagedFiles(CacheType type);

    /// Forgets everything about one source, for every process that uses the folder.
    /// @return 1 when nothing of it is left
    unsigned char ClearSubTree(CacheType type, const KxString& name);

    /// Leaves a word for people on whose tiles these are. Does nothing where no sub-tree is.
    /// @return 1 when it stands there afterwards
    unsigned char
    DescribeSubTree(CacheType type, const KxString& name, const KxString& description);

    /// Visits the tiles that are kept, by level, column and row. Nobody else has to wait for it:
    /// the file is free between two tiles, and what others add or remove meanwhile may be seen.
    KxRawDataTreeResult
    VisitTiles(CacheType type, const KxString& name, KxRawDataTileVisitor& visitor);

    /// Whether the sub-tree's file contradicts itself; other programs may use it meanwhile. Nothing
    /// is changed or set aside.
    /// @param problems  what was found, for people; empty after Done
    KxRawDataTreeResult
    CheckSubTree(CacheType type, const KxString& name, std::vector<KxString>& problems);

    /// Writes the tiles of a sub-tree as an MBTiles file, which appears under its name only when
    /// whole. Only right for sources on the Web Mercator grid without datum shift.
    /// @param watcher  sees each tile before it is written, and may end the export
    KxRawDataTreeResult ExportSubTree(CacheType type,
                                      const KxString& name,
                                      const KxRawDataExportOptions& options,
                                      KxRawDataTileVisitor& watcher,
                                      KxRawDataExportReport& report);

private:
    struct Store;
    /// The global manager's store is closed, never destroyed: threads may still run while a process
    /// exits.
    Store* m_store = nullptr;
};

KXCOMMON_API extern KxRawDataTypeCacheManager m_gRawDataTypeCacheManager;

} // namespace KxC
