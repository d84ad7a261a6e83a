// SPDX-License-Identifier: MIT
#pragma once

#include "KxNetGetch.h"
#include "KxTSDParam.h"
#include "KxWMTileDataCache.h"
#include "Operation.h"
#include "TileAddress.h"

namespace KxC {

/// One decoded tile from the memory cache, the disk cache or the service, for an operation that
/// has begun. With switches.m_memory the cache owns the tile, else the caller.
/// Results as KxTileFetcher::FetchWMData.
NetError FetchSourceTile(KxWMImageTileData*& tile,
                         KxTSDParamItem& source,
                         const SourceTile& address,
                         int requestParam,
                         const CacheSwitches& switches);

/// The same without asking the memory cache first.
NetError DownloadSourceTile(KxWMImageTileData*& tile,
                            KxTSDParamItem& source,
                            const SourceTile& address,
                            int requestParam,
                            const CacheSwitches& switches);

} // namespace KxC
