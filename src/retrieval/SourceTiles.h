// SPDX-License-Identifier: MIT
#pragma once

#include "KxTSDParam.h"
#include "KxWMTileDataCache.h"
#include "Operation.h"
#include "TileRange.h"

#include <cstddef>
#include <vector>

namespace KxC {

/// A tile's picture; null without a tile, a picture or pixels.
const KxImageData* PictureOf(const KxWMImageTileData* tile);

/// The source tiles of one operation by their place. Releases them as it ends, unless the memory
/// cache owns them: then they live until the operation is over.
class SourceTiles
{
public:
    /// The most tiles that one operation asks a service for: 8192 pixels from tiles of 64 need
    /// 130 x 130. Without a bound a definition that claims tiles of one pixel would make an
    /// ordinary tile ask for tens of thousands.
    static constexpr long long kMaxTiles = 130 * 130;
    /// The most memory that the tiles of one operation take: twice what 8192 x 8192 pixels with
    /// alpha need where the level's rounding is worst.
    static constexpr std::size_t kMaxBytes = std::size_t{1} << 30;

    /// @param range       at most kMaxTiles places, else the list has none
    /// @param cacheOwned  whether the memory cache owns the tiles
    SourceTiles(const TileRange& range, bool cacheOwned);
    ~SourceTiles();
    SourceTiles(const SourceTiles&) = delete;
    SourceTiles& operator=(const SourceTiles&) = delete;

    const TileRange& Range() const { return m_range; }
    bool IsInBounds() const { return !m_tiles.empty() && m_bytes <= kMaxBytes; }

    /// Takes a tile at a place of the range; null leaves the place empty.
    void Put(int row, int col, KxWMImageTileData* tile);

    /// The picture at a place; null outside the range, where no tile is, and where it has no
    /// pixels.
    const KxImageData* ImageAt(int row, int col) const;

    bool HasImage() const { return m_hasImage; }
    /// Whether some picture has an alpha channel.
    bool HasAlpha() const { return m_hasAlpha; }
    /// Whether some place has no picture.
    bool HasGap() const { return m_images < static_cast<long long>(m_tiles.size()); }

private:
    std::size_t Place(int row, int col) const;

    TileRange m_range;
    bool m_cacheOwned;
    bool m_hasImage = false;
    bool m_hasAlpha = false;
    long long m_images = 0;
    std::size_t m_bytes = 0;
    std::vector<KxWMImageTileData*> m_tiles;
};

/// Fetches every tile of the list's range, row by row from the south.
/// @param level  [0, 30], of the source
/// @return false when one of them failed, or when they are too many or too large
bool FetchSourceTiles(SourceTiles& tiles,
                      KxTSDParamItem& source,
                      int level,
                      int requestParam,
                      const CacheSwitches& switches);

} // namespace KxC
