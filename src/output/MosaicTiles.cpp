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
/// Of a reader's tile, for an estimate.
constexpr std::size_t kTileBytes = 256 * 256 * 4;

/// A mosaic that needs most of the memory cache would drive out what the host looks at, and gain
/// nothing: it comes by each tile once.
bool FitsCache(const TileRange& range)
{
    const auto tiles = static_cast<std::size_t>(range.Rows() * range.Columns());
    return tiles * kTileBytes <= m_gWMTileDataCacheManager.GetBudget() / 4;
}

long long TilesOf(const TileRange& range)
{
    return std::max(range.Rows(), 0LL) * std::max(range.Columns(), 0LL);
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
    const bool isFew = TilesOf(range) <= MosaicTiles::kMaxTiles;
    const TileRange asked = isFew ? range : InBounds(range, accessor.GetLatLonBounds(), level);
    if (TilesOf(asked) > MosaicTiles::kMaxTiles)
        return true;
    for (int row = asked.m_minRow; row <= asked.m_maxRow; ++row)
        for (int col = asked.m_minCol; col <= asked.m_maxCol; ++col)
            if (HasPicture(raster, {level, row, col}))
                return true;
    return false;
}

MosaicTiles::MosaicTiles(const RasterSource& raster, const TileRange& range, int level)
    : m_raster(raster), m_range(range), m_level(level), m_cached(FitsCache(range)),
      m_asked(static_cast<std::size_t>(range.Rows() * range.Columns()))
{
}

void MosaicTiles::GoTo(int row, int col)
{
    m_lastRow = row;
    m_lastCol = col;
    m_lastImage = nullptr;
    if (!m_range.Holds(row, col))
        return;
    const long long place = m_range.PlaceOf(row, col);
    auto found = m_tiles.find(place);
    if (found == m_tiles.end())
        found = m_tiles.emplace(place, Ask(row, col)).first;
    found->second.m_usedIn = m_outputRow;
    m_lastImage = found->second.m_image;
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
            tile = {PictureOf(read.get()), std::move(read), false, 0};
        }
    }
    m_asked[static_cast<std::size_t>(m_range.PlaceOf(row, col))] = true;
    m_hasImage = m_hasImage || tile.m_image != nullptr;
    m_needsAlpha = m_needsAlpha || tile.m_image == nullptr || tile.m_image->GetPixelSize() >= 4;
    return tile;
}

MosaicTiles::Tile MosaicTiles::Hold(KxWMImageTileData* pinned)
{
    if (pinned == nullptr)
        return {};
    ++m_pins;
    return {PictureOf(pinned), nullptr, true, 0};
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
    std::erase_if(m_tiles, [this](const auto& entry) {
        return entry.second.m_usedIn + kRowsToKeep < m_outputRow;
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
            const long long usedIn = tile.m_usedIn;
            tile = Hold(m_raster.Find(AddressOf(entry->first)));
            tile.m_usedIn = usedIn;
            if (!tile.m_pinned) {
                entry = m_tiles.erase(entry);
                continue;
            }
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
