// SPDX-License-Identifier: MIT
#pragma once

#include "KxRasterDataAccessor.h"
#include "KxString.h"
#include "KxWMTileDataCache.h"
#include "TileAddress.h"
#include "TileRange.h"

#include <memory>

namespace KxC {

/// Whether a raster reaches into the tiles of a range.
/// @param level  [0, 30]
bool Covers(const KxRasterDataAccessor& accessor, const TileRange& range, int level);

/// The tiles of one open raster. The memory cache owns those that Fetch brings, whatever the host's
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

    /// A tile with a picture that the memory cache has, valid while the operation runs, or until
    /// its thread lets go of its tiles; null where there is none.
    KxWMImageTileData* Find(const SourceTile& address) const;
    /// A tile with a picture straight from the reader, past the memory cache; null where there is
    /// none.
    std::unique_ptr<KxWMImageTileData> Read(const SourceTile& address) const;
    /// Gives a tile to the memory cache, which then owns it.
    void Keep(std::unique_ptr<KxWMImageTileData> tile) const;

private:
    KxRasterDataAccessor& m_accessor;
    KxString m_strKey;
};

} // namespace KxC
