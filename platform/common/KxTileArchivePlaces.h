// SPDX-License-Identifier: MIT
#pragma once

#include "KxCommonExport.h"
#include "KxString.h"
#include "KxTileArchiveWriter.h"

namespace KxC {

/// Tells where an archive has tiles. Their bytes are what readers of archives are for.
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
};

} // namespace KxC
