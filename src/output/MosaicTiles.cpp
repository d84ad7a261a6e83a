// SPDX-License-Identifier: MIT
#include "MosaicTiles.h"

#include "SourceTiles.h"

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

} // namespace

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
