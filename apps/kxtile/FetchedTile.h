// SPDX-License-Identifier: MIT
#pragma once

#include "HostTile.h"
#include "KxRawData.h"
#include "KxTSDParam.h"

#include <memory>
#include <string>

namespace KxTileHost {

/// A service's tile, as the service sent it (inflated where it came compressed).
struct FetchedTile
{
    std::unique_ptr<KxC::KxRawData> m_bytes; ///< with its extension
    std::string m_url;
    std::string m_from;     ///< "network" or "disk"
    int m_httpStatus = 0;   ///< 0 when no request was sent
    double m_seconds = 0.0; ///< of the library's operation
};

/// Fetches a tile through the library's caches, or straight from the service when the disk cache
/// is off (or cannot be written).
/// @throws CommandError: no tile there, or what failed and how to mend it
FetchedTile
FetchTileOf(KxC::KxTSDParamItem& source, const HostTile& tile, bool useDiskCache, int timeoutMs);

} // namespace KxTileHost
