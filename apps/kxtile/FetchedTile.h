// SPDX-License-Identifier: MIT
#pragma once

#include "HostTile.h"
#include "KxRawData.h"
#include "KxTSDParam.h"

#include <memory>
#include <string>
#include <vector>

namespace KxTileHost {

/// A service's tile, as the service sent it (inflated where it came compressed), or one made of
/// several.
struct FetchedTile
{
    std::unique_ptr<KxC::KxRawData> m_bytes; ///< with its extension
    std::string m_url;                       ///< empty for a tile made of several
    std::string m_from;     ///< "network", "disk", "memory", or "cache" for either of these
    int m_httpStatus = 0;   ///< 0 when no request was sent
    double m_seconds = 0.0; ///< of the library's operation
    /// Of earth imagery that was fetched now, see TakeFetchedDays; empty of what a cache had.
    std::vector<std::string> m_days = {};
};

/// Fetches a tile through the library's caches, or straight from the service when the disk cache
/// is off (or cannot be written).
/// @throws CommandError: no tile there, or what failed and how to mend it
FetchedTile
FetchTileOf(KxC::KxTSDParamItem& source, const HostTile& tile, bool useDiskCache, int timeoutMs);

/// How a tile is aligned to the Web Mercator tiling.
struct AlignedTileOptions
{
    int m_size = 256;         ///< pixels a side
    bool m_blockCopy = false; ///< the library's own choice: of shifted tiles it copies blocks
    int m_timeoutMs = 0;      ///< of each request, 0 for the library's default
};

/// Makes the Web Mercator tile of a source, whatever its grid, datum and tile size.
/// @throws CommandError as FetchTileOf
FetchedTile FetchAlignedTile(KxC::KxTSDParamItem& source,
                             const HostTile& tile,
                             const AlignedTileOptions& options);

/// Says why the library's last fetch of this thread failed.
[[noreturn]] void ThrowFetchFailure(const KxC::KxTSDParamItem& source);

} // namespace KxTileHost
