// SPDX-License-Identifier: MIT
#pragma once

#include "KxCommonExport.h"
#include "KxPoint.h"
#include "KxRect2d.h"
#include "KxString.h"

#include <memory>
#include <mutex>

namespace KxC {

enum KxTileArchiveFormat : int {
    KxTileArchiveFormat_MBTiles = 0, ///< an SQLite database, MBTiles 1.3
    KxTileArchiveFormat_PMTiles = 1, ///< PMTiles 3: clustered, directories packed with gzip
};

/// What an archive says of itself beside what its tiles say.
struct KxTileArchiveMetadata
{
    KxString m_strName;        ///< for people
    KxString m_strDescription; ///< may be empty
    KxString m_strAttribution; ///< whom the tiles are owed to; may be empty
    /// What the tiles were made from, for programs that go on with the archive; may be empty.
    /// Control characters are lost.
    KxString m_strOrigin = {};
};

/// What was written.
struct KxTileArchiveReport
{
    unsigned long long m_nTiles = 0;    ///< a place that was given twice counts twice
    unsigned long long m_nPictures = 0; ///< of them, stored once each
    unsigned long long m_nSkipped = 0;  ///< without bytes, or on no level of the grid
    int m_nMinLevel = 0;
    int m_nMaxLevel = 0;
    KxRect2d m_bounds;    ///< of the last level's tiles; degrees, WGS 84
    KxPoint2d m_centre;   ///< of the same: x is the longitude; amid tiles that lie on both sides of
                          ///< the antimeridian, though the bounds go round the earth
    KxString m_strFormat; ///< "png", "jpg", "webp" or "gif": that of most tiles
};

/// Writes tiles of the Web Mercator grid into one file, which appears under its name only when it
/// is whole. Tiles may come in any order. Memory stays bounded however many they are: what does not
/// fit waits in files without a name beside the one that is written, so that its folder needs room
/// for the tiles twice. Pictures that come again are stored once: in PMTiles those of the first
/// million that differ, in MBTiles small ones, as the sea's are.
/// Threads: AddTile may be called by several at once, the rest by one.
class KXCOMMON_API KxTileArchiveWriter
{
public:
    KxTileArchiveWriter();
    /// Removes what was not finished.
    ~KxTileArchiveWriter();
    KxTileArchiveWriter(const KxTileArchiveWriter&) = delete;
    KxTileArchiveWriter& operator=(const KxTileArchiveWriter&) = delete;

    /// Begins an archive; whatever was begun before is given up.
    /// @param path  of the file to be; its folder exists. One that is there stays until Finish
    bool
    Create(const KxString& path, KxTileArchiveFormat format, const KxTileArchiveMetadata& metadata);

    /// Adds a copy of an encoded picture. Of a place that is given twice the last stays. What has
    /// no bytes, and what lies on no level from 0 to 30, is counted and left out.
    /// @param row  counted from the south
    /// @return false when it cannot be written: GetError says why, and Finish will fail
    bool AddTile(int level, int row, int col, const unsigned char* bytes, unsigned int size);

    /// Completes the file and gives it its name. Fails where there is no tile at all.
    bool Finish();

    /// Of the last Finish; of a failed one without levels and bounds.
    const KxTileArchiveReport& GetReport() const;
    /// Why the last operation that can fail did, for people; empty when none did.
    const KxString& GetError() const;

private:
    struct Archive;

    template <typename Step>
    bool Try(Step step);

    std::mutex m_mutex;
    std::unique_ptr<Archive> m_archive;
    KxTileArchiveReport m_report;
    KxString m_strError;
};

} // namespace KxC
