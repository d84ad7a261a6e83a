// SPDX-License-Identifier: MIT
#pragma once

#include "KxCommonExport.h"
#include "KxRect2d.h"
#include "KxString.h"

#include <vector>

namespace KxC {

/// How the bytes of a PMTiles section are packed.
enum KxPmTilesCompression : int {
    KxPmTilesCompression_Unknown = 0,
    KxPmTilesCompression_None = 1,
    KxPmTilesCompression_Gzip = 2,
    KxPmTilesCompression_Brotli = 3,
    KxPmTilesCompression_Zstd = 4,
};

enum KxPmTilesType : int {
    KxPmTilesType_Unknown = 0,
    KxPmTilesType_Mvt = 1, ///< vector tiles
    KxPmTilesType_Png = 2,
    KxPmTilesType_Jpeg = 3,
    KxPmTilesType_Webp = 4,
    KxPmTilesType_Avif = 5,
};

/// A part of an archive: bytes from the file's start, and their number.
struct KxPmTilesSection
{
    unsigned long long m_nOffset = 0;
    unsigned long long m_nLength = 0;
};

/// What the first 127 bytes of an archive say.
struct KxPmTilesHeader
{
    KxPmTilesSection m_root;
    KxPmTilesSection m_metadata;
    KxPmTilesSection m_leaves;
    KxPmTilesSection m_tiles;
    unsigned long long m_nAddressed = 0; ///< places that have a tile; 0 when not known
    unsigned long long m_nEntries = 0;   ///< of all directories, leaves left out
    unsigned long long m_nContents = 0;  ///< different tiles
    bool m_bClustered = false;           ///< tiles lie in the order of their ids
    KxPmTilesCompression m_eInternal = KxPmTilesCompression_Gzip;
    KxPmTilesCompression m_eTile = KxPmTilesCompression_None;
    KxPmTilesType m_eType = KxPmTilesType_Unknown;
    int m_nMinLevel = 0;
    int m_nMaxLevel = 0;
    KxRect2d m_bounds; ///< degrees
    int m_nCenterLevel = 0;
    double m_dCenterLon = 0.0; ///< degrees
    double m_dCenterLat = 0.0;
};

/// One line of a directory: a run of tiles with the same bytes, or another directory.
struct KxPmTilesEntry
{
    unsigned long long m_nTileId = 0; ///< the first tile's
    unsigned long long m_nOffset = 0; ///< from the start of the tiles, or of the leaves
    unsigned int m_nLength = 0;       ///< bytes, from 1
    unsigned int m_nRunLength = 0;    ///< tiles; 0 marks a directory

    bool IsLeaf() const { return m_nRunLength == 0; }
};

/// The pieces that archives of PMTiles, version 3, are made of. What is read is taken from anybody:
/// nothing is believed that the bytes at hand do not bear out. Any thread; nothing is thrown.
class KXCOMMON_API KxPmTiles
{
public:
    static constexpr unsigned int kHeaderBytes = 127;
    /// Header and root directory lie in the first bytes of an archive.
    static constexpr unsigned int kMaxRootEnd = 16384;
    static constexpr int kMaxLevel = 30;
    /// Entries of one directory, and its bytes as they are stored.
    static constexpr unsigned int kMaxEntries = 1U << 20;
    static constexpr unsigned int kMaxDirectoryBytes = 16U << 20;
    /// Steps from the root to a tile; the format allows leaves of leaves but advises against them.
    static constexpr int kMaxDepth = 4;

    /// @name Tile ids
    /// They count the tiles level by level, on each along a Hilbert curve.
    /// @{

    /// @param level  [0, kMaxLevel]
    /// @param row    counted from the south
    /// @return false when there is no such tile
    static bool TileIdOf(int level, int row, int col, unsigned long long& id);
    /// @return false beyond the last tile of kMaxLevel
    static bool PlaceOf(unsigned long long id, int& level, int& row, int& col);

    /// @}

    /// @param size      bytes at hand, from the archive's first
    /// @param fileSize  bytes of the whole archive: no section reaches beyond it
    /// @param error     on failure, what is wrong
    static bool ReadHeader(const unsigned char* bytes,
                           unsigned int size,
                           unsigned long long fileSize,
                           KxPmTilesHeader& header,
                           KxString& error);
    /// @param bytes  receives kHeaderBytes
    static void WriteHeader(const KxPmTilesHeader& header, unsigned char* bytes);

    /// Reads a directory and checks it: ids grow, runs do not overlap, no run reaches beyond the
    /// last tile, no offset or length overflows.
    /// @param error  on failure, what is wrong
    static bool ReadDirectory(const unsigned char* bytes,
                              unsigned int size,
                              KxPmTilesCompression compression,
                              std::vector<KxPmTilesEntry>& entries,
                              KxString& error);
    /// Packs `count` entries, whose ids grow, with gzip.
    /// @param bytes  receives the directory
    /// @return false for want of memory
    static bool WriteDirectory(const KxPmTilesEntry* entries,
                               unsigned long long count,
                               std::vector<unsigned char>& bytes);

    /// The entry whose run or whose leaf holds the tile, if any does.
    static const KxPmTilesEntry* FindEntry(const std::vector<KxPmTilesEntry>& entries,
                                           unsigned long long id);
};

} // namespace KxC
