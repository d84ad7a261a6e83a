// SPDX-License-Identifier: MIT
#pragma once

#include "KxCommonExport.h"
#include "KxString.h"
#include "KxTileArchiveWriter.h"

namespace KxC {

/// Tells where an archive has tiles, and what they were made from. Their bytes are what readers of
/// archives are for.
class KXCOMMON_API KxTileArchivePlaces
{
public:
    /// Hears of a tile. Must not throw.
    /// @param row  counted from the south
    /// @return 0 to hear of no more
    using Visitor = unsigned char (*)(int level, int row, int col, void* user);

    /// Visits all tiles of the Web Mercator grid, in the archive's own order. Archives come from
    /// anybody: one may promise more tiles than there is time for, so that whoever visits it
    /// should be able to give up; memory stays bounded.
    /// @param error  on failure, what is wrong with the file, for people
    /// @return false when not all of the archive can be read; tiles may have been visited by then
    static bool Visit(const KxString& path,
                      KxTileArchiveFormat format,
                      Visitor visitor,
                      void* user,
                      KxString& error);

    /// The URI under which SQLite opens an MBTiles file to read it. SQLite makes files beside a
    /// database with a log even where it only reads; where no log is there nobody is writing, and
    /// the database can be read like a file that does not change.
    static KxString NameForSqlite(const KxString& path);

    /// What KxTileArchiveWriter was told that the tiles were made from.
    /// @param origin  receives it; empty where the archive does not say it
    /// @param error   on failure, what is wrong with the file, for people
    static bool
    ReadOrigin(const KxString& path, KxTileArchiveFormat format, KxString& origin, KxString& error);

    /// Whether what ReadOrigin found is this; archives keep '?' for control characters and for
    /// bytes that are no UTF-8.
    static bool IsSameOrigin(const KxString& kept, const KxString& origin);
};

} // namespace KxC
