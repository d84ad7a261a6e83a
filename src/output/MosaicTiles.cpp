// SPDX-License-Identifier: MIT
#include "MosaicTiles.h"

#include "SourceTiles.h"
#include "TileNumbers.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace KxC {

namespace {

/// Near a pole tiles are so narrow that an output row may miss one between two that meet it.
constexpr long long kRowsToKeep = 16;
constexpr std::size_t kFewPins = 64;
/// Tiles read, at most, to tell a picture that is too large from one that shows nothing.
constexpr int kMostAsked = 8192;
/// Of a reader's tile, for an estimate.
constexpr std::size_t kTileBytes = 256 * 256 * 4;

/// A mosaic that needs most of the memory cache would drive out what the host looks at, and gain
/// nothing: it comes by each tile once.
bool FitsCache(const TileRange& range)
{
    const auto tiles = static_cast<std::size_t>(range.Rows() * range.Columns());
    return tiles * kTileBytes <= m_gWMTileDataCacheManager.GetBudget() / 4;
}

/// The part of a range that lies in a raster's bounds, where alone it has pictures.
TileRange InBounds(const TileRange& range, const KxRect2d& bounds, int level)
{
    const double span = 360.0 / TilesPerAxis(level);
    const auto index = [span](double degrees) {
        return TruncateToInt(std::floor((degrees + 180.0) / span));
    };
    return {std::max(range.m_minRow, index(bounds.m_dBottom)),
            std::max(range.m_minCol, index(bounds.m_dLeft)),
            std::min(range.m_maxRow, index(bounds.m_dTop)),
            std::min(range.m_maxCol, index(bounds.m_dRight))};
}

/// What it takes to hold a tile, with its place in a table.
std::size_t BytesOf(const KxImageData* image)
{
    constexpr std::size_t kEntry = 128;
    if (image == nullptr)
        return kEntry;
    return kEntry + static_cast<std::size_t>(image->GetRowBytes()) *
                        static_cast<std::size_t>(image->GetHeight());
}

bool HasPicture(const RasterSource& raster, const SourceTile& address)
{
    return PictureOf(raster.Find(address)) != nullptr ||
           PictureOf(raster.Read(address).get()) != nullptr;
}

} // namespace

bool MayHavePicture(KxRasterDataAccessor& accessor,
                    const RasterSource& raster,
                    const TileRange& range,
                    int level)
{
    const TileRange asked = InBounds(range, accessor.GetLatLonBounds(), level);
    int left = kMostAsked;
    for (int row = asked.m_minRow; row <= asked.m_maxRow; ++row)
        for (int col = asked.m_minCol; col <= asked.m_maxCol; ++col)
            if (left-- == 0 || HasPicture(raster, {level, row, col}))
                return true;
    return false;
}

MosaicTiles::MosaicTiles(const RasterSource& raster,
                         const TileRange& range,
                         int level,
                         std::size_t budget)
    : m_raster(raster), m_range(range), m_level(level), m_cached(FitsCache(range)),
      m_budget(budget), m_asked(static_cast<std::size_t>(range.Rows() * range.Columns()))
{
}

void MosaicTiles::GoTo(int row, int col)
{
    m_lastRow = row;
    m_lastCol = col;
    m_lastImage = nullptr;
    if (!m_range.Holds(row, col))
        return;
    const auto found = m_tiles.find(m_range.PlaceOf(row, col));
    Tile& tile = found != m_tiles.end() ? found->second : Add(row, col);
    tile.m_usedIn = m_outputRow;
    tile.m_usedAt = ++m_uses;
    m_lastImage = tile.m_image;
}

MosaicTiles::Tile& MosaicTiles::Add(int row, int col)
{
    if (m_heldBytes > m_budget)
        DropOldest();
    Tile& tile = m_tiles.emplace(m_range.PlaceOf(row, col), Ask(row, col)).first->second;
    tile.m_bytes = BytesOf(tile.m_image);
    m_heldBytes += tile.m_bytes;
    return tile;
}

MosaicTiles::Tile MosaicTiles::Ask(int row, int col)
{
    const SourceTile address{m_level, row, col};
    Tile tile = Hold(m_raster.Find(address));
    if (!tile.m_pinned) {
        auto read = m_raster.Read(address);
        if (m_cached && read != nullptr) {
            tile = Hold(read.get());
            m_raster.Keep(std::move(read));
        } else {
            tile.m_image = PictureOf(read.get());
            tile.m_own = std::move(read);
        }
    }
    m_asked[static_cast<std::size_t>(m_range.PlaceOf(row, col))] = true;
    m_hasImage = m_hasImage || tile.m_image != nullptr;
    m_needsAlpha = m_needsAlpha || tile.m_image == nullptr || tile.m_image->GetPixelSize() >= 4;
    return tile;
}

MosaicTiles::Tile MosaicTiles::Hold(KxWMImageTileData* pinned)
{
    Tile tile;
    if (pinned == nullptr)
        return tile;
    ++m_pins;
    tile.m_image = PictureOf(pinned);
    tile.m_pinned = true;
    return tile;
}

SourceTile MosaicTiles::AddressOf(long long place) const
{
    return {m_level,
            m_range.m_minRow + static_cast<int>(place / m_range.Columns()),
            m_range.m_minCol + static_cast<int>(place % m_range.Columns())};
}

void MosaicTiles::EndRow()
{
    m_lastRow = m_lastCol = -1; // so that the next row marks the tile as its own
    m_lastImage = nullptr;
    if (++m_outputRow % (kRowsToKeep / 2) != 0)
        return;
    DropUnused();
    if (m_pins > kFewPins + 2 * m_tiles.size())
        PinAgain();
}

void MosaicTiles::DropUnused()
{
    DropIf([this](const Tile& tile) { return tile.m_usedIn + kRowsToKeep < m_outputRow; });
}

/// Drops the half of the tiles that was not needed for longest: each by itself would have to be
/// looked for among all of them.
void MosaicTiles::DropOldest()
{
    std::vector<long long> uses;
    uses.reserve(m_tiles.size());
    for (const auto& [place, tile] : m_tiles)
        uses.push_back(tile.m_usedAt);
    const auto middle = uses.begin() + static_cast<std::ptrdiff_t>(uses.size() / 2);
    std::nth_element(uses.begin(), middle, uses.end());
    DropIf([last = *middle](const Tile& tile) { return tile.m_usedAt <= last; });
    if (m_pins > 0)
        PinAgain();
}

template <class IsOver>
void MosaicTiles::DropIf(const IsOver& isOver)
{
    std::erase_if(m_tiles, [&](const auto& entry) {
        const Tile& tile = entry.second;
        const bool isDropped = isOver(tile);
        m_heldBytes -= isDropped ? tile.m_bytes : 0;
        return isDropped;
    });
}

/// A thread lets go of its tiles all at once; those still needed are asked for anew. What has left
/// the cache meanwhile is read again when a row needs it.
void MosaicTiles::PinAgain()
{
    m_gWMTileDataCacheManager.ReleaseThreadTiles();
    m_pins = 0;
    for (auto entry = m_tiles.begin(); entry != m_tiles.end();) {
        Tile& tile = entry->second;
        if (tile.m_pinned) {
            const Tile again = Hold(m_raster.Find(AddressOf(entry->first)));
            if (!again.m_pinned) {
                m_heldBytes -= tile.m_bytes;
                entry = m_tiles.erase(entry);
                continue;
            }
            tile.m_image = again.m_image;
        }
        ++entry;
    }
}

void MosaicTiles::AskTheRest()
{
    for (std::size_t place = 0; place < m_asked.size(); ++place) {
        if (m_hasImage && m_needsAlpha)
            return;
        if (m_asked[place])
            continue;
        const SourceTile address = AddressOf(static_cast<long long>(place));
        Ask(address.m_row, address.m_col);
        if (m_pins > kFewPins)
            PinAgain();
    }
}

} // namespace KxC
