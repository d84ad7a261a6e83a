// SPDX-License-Identifier: MIT
#pragma once

#include "KxString.h"
#include "KxWMTileDataCache.h"

namespace KxC {

/// Gives a tile to the memory cache of its source, which owns it from then on; where there is no
/// memory for that, the calling thread keeps it until its next operation.
/// @param hashKey  names the source's caches
void HandToMemoryCache(const KxString& hashKey, KxWMImageTileData* tile);

} // namespace KxC
