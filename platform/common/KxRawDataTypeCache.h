// SPDX-License-Identifier: MIT
#pragma once

#include "KxCommonExport.h"
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
    KxString m_strName; ///< the hash key
    KxString m_strPath; ///< of its file
    unsigned long long m_nTiles = 0;
    unsigned long long m_nNoData = 0; ///< addresses known to have no tile
    unsigned long long m_nBytes = 0;  ///< of the file and its write-ahead log
    bool m_bReadable = true;          ///< false: the counts could not be read
};

/// The disk cache: one SQLite file per sub-tree under KxFile::m_strAppCachePath, readable as
/// MBTiles. Rows count from the south. Several threads and processes may use one folder. A cache
/// that is damaged, full, read-only or not to be opened is a miss on loading and silence on saving.
class KXCOMMON_API KxRawDataTypeCacheManager
{
public:
    enum CacheType : int {
        CacheType_SourceTile = 0, ///< tile bytes as they decode
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

    /// Forgets everything about one source, for every process that uses the folder.
    /// @return 1 when nothing of it is left
    unsigned char ClearSubTree(CacheType type, const KxString& name);

private:
    struct Store;
    /// The global manager's store is closed, never destroyed: threads may still run while a process
    /// exits.
    Store* m_store = nullptr;
};

KXCOMMON_API extern KxRawDataTypeCacheManager m_gRawDataTypeCacheManager;

} // namespace KxC
