// SPDX-License-Identifier: MIT
#pragma once

#include "KxRawData.h"
#include "KxString.h"

#include <functional>

namespace KxC {

/// One tile as a file of the cache folder tree: <cache root>/<folder>/<level>/<row>/<column>.
struct TileFileRequest
{
    KxString m_strFolder;   ///< below the cache root, one for each source
    KxString m_strAskedExt; ///< without dot; empty: whatever the tile turns out to be
    int m_nX = 0;
    int m_nY = 0; ///< from the north
    int m_nZ = 0;
    int m_nTileSize = 0;             ///< pixels
    bool m_bMakesFolder = false;     ///< otherwise a missing folder is a failure
    bool m_bDotBeforeOwnExt = false; ///< puts a dot before the fetched tile's own extension
};

/// Makes a new encoded tile, owned by the caller; null or empty when there is none.
using TileFetch = std::function<KxRawData*()>;

/// Finds a tile's file, or fetches the tile and writes it with its world file.
/// @param path  receives the file's path, empty on failure
/// @return 1 when the file is there, 0 when there is no tile or it cannot be written
unsigned char FetchTileFile(KxString& path, const TileFileRequest& request, const TileFetch& fetch);

} // namespace KxC
