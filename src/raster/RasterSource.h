// SPDX-License-Identifier: MIT
#pragma once

#include "KxRasterDataAccessor.h"
#include "KxString.h"
#include "KxWMTileDataCache.h"
#include "TileAddress.h"

namespace KxC {

/// The tiles of one open raster, by way of the memory cache, which owns them whatever the host's
/// switches say.
class RasterSource
{
public:
    /// @param accessor  open; must outlive this
    RasterSource(KxRasterDataAccessor& accessor, const KxString& dataPath);

    /// @param tile  receives the tile, valid while the operation runs; null where there is none.
    ///              Without a cache and without a picture it is left as it was.
    /// @return whether there is a tile with a picture
    bool Fetch(KxWMImageTileData*& tile, const SourceTile& address) const;

private:
    bool Read(KxWMImageTileData*& tile, const SourceTile& address) const;

    KxRasterDataAccessor& m_accessor;
    KxString m_strKey;
};

} // namespace KxC
