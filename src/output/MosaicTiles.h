// SPDX-License-Identifier: MIT
#pragma once

#include "RasterSource.h"
#include "TileRange.h"

#include <cstddef>
#include <memory>
#include <unordered_map>
#include <vector>

namespace KxC {

/// The raster tiles under a mosaic, read when an output row first needs them and let go of when no
/// recent row did: so a mosaic holds about one row of tiles, however many lie under it. Where even
/// these take more memory than they may, those not needed for longest go, to be read again when a
/// later row needs them.
/// For one thread, inside an operation during which nobody else takes tiles from the memory cache
/// on that thread: letting go of its own lets go of theirs.
class MosaicTiles
{
public:
    /// More tiles than 2 GiB of pixels take at any latitude up to 89.9 degrees.
    static constexpr long long kMaxTiles = 1 << 25;
    static constexpr std::size_t kDefaultBudget = std::size_t{256} << 20;

    /// @param raster  must outlive this
    /// @param range   at most kMaxTiles
    /// @param budget  bytes that the tiles held may take, of which the last one may take more
    MosaicTiles(const RasterSource& raster,
                const TileRange& range,
                int level,
                std::size_t budget = kDefaultBudget);

    /// The picture of a tile, valid until the next tile is asked for; null outside the range and
    /// where there is none.
    const KxImageData* ImageAt(int row, int col)
    {
        if (row != m_lastRow || col != m_lastCol)
            GoTo(row, col);
        return m_lastImage;
    }

    /// Ends an output row.
    void EndRow();

    /// Asks for the tiles that no row needed, as far as they decide on HasImage and NeedsAlpha.
    void AskTheRest();

    /// Whether some tile asked for so far has a picture.
    bool HasImage() const { return m_hasImage; }
    /// Whether some tile asked for so far has an alpha channel or no picture.
    bool NeedsAlpha() const { return m_needsAlpha; }

private:
    struct Tile
    {
        const KxImageData* m_image = nullptr;
        std::unique_ptr<KxWMImageTileData> m_own; ///< null where the memory cache owns it
        bool m_pinned = false;
        long long m_usedIn = 0; ///< the last output row that it was needed in
        long long m_usedAt = 0; ///< when it was needed last, counted in changes of tile
        std::size_t m_bytes = 0;
    };

    void GoTo(int row, int col);
    Tile& Add(int row, int col);
    Tile Ask(int row, int col);
    Tile Hold(KxWMImageTileData* pinned);
    SourceTile AddressOf(long long place) const;
    void DropUnused();
    void DropOldest();
    /// Drops the tiles for which `isOver` (tile) holds.
    template <class IsOver>
    void DropIf(const IsOver& isOver);
    void PinAgain();

    const RasterSource& m_raster;
    TileRange m_range;
    int m_level;
    bool m_cached; ///< whether tiles that are read go to the memory cache
    bool m_hasImage = false;
    bool m_needsAlpha = false;
    long long m_outputRow = 0;
    std::size_t m_pins = 0; ///< taken since the thread last let go of its tiles
    std::size_t m_budget;
    std::size_t m_heldBytes = 0; ///< of m_tiles
    long long m_uses = 0;
    std::vector<bool> m_asked;
    std::unordered_map<long long, Tile> m_tiles; ///< by place in the range
    /// What the last call of ImageAt found.
    int m_lastRow = -1;
    int m_lastCol = -1;
    const KxImageData* m_lastImage = nullptr;
};

/// Whether some tile of a range has a picture. Tiles outside the raster's bounds have none; where
/// thousands inside have none, others may.
bool MayHavePicture(KxRasterDataAccessor& accessor,
                    const RasterSource& raster,
                    const TileRange& range,
                    int level);

} // namespace KxC
