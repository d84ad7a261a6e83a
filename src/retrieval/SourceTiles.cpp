// SPDX-License-Identifier: MIT
#include "SourceTiles.h"

#include "SingleTile.h"

namespace KxC {

namespace {

std::size_t PlaceCount(const TileRange& range)
{
    const long long rows = range.Rows();
    const long long columns = range.Columns();
    const bool fits = rows > 0 && columns > 0 && rows <= SourceTiles::kMaxTiles &&
                      columns <= SourceTiles::kMaxTiles && rows * columns <= SourceTiles::kMaxTiles;
    return fits ? static_cast<std::size_t>(rows * columns) : 0;
}

} // namespace

const KxImageData* PictureOf(const KxWMImageTileData* tile)
{
    const KxImageData* picture = tile != nullptr ? tile->GetImage() : nullptr;
    return picture != nullptr && picture->GetData() != nullptr ? picture : nullptr;
}

SourceTiles::SourceTiles(const TileRange& range, bool cacheOwned)
    : m_range(range), m_cacheOwned(cacheOwned), m_tiles(PlaceCount(range), nullptr)
{
}

SourceTiles::~SourceTiles()
{
    if (m_cacheOwned)
        return;
    for (const KxWMImageTileData* tile : m_tiles)
        delete tile;
}

void SourceTiles::Put(int row, int col, KxWMImageTileData* tile)
{
    m_tiles[Place(row, col)] = tile;
    if (tile != nullptr)
        m_bytes += tile->GetByteCount();
    const KxImageData* const picture = PictureOf(tile);
    if (picture == nullptr)
        return;
    ++m_images;
    m_hasImage = true;
    m_hasAlpha = m_hasAlpha || picture->GetPixelSize() >= 4;
}

const KxImageData* SourceTiles::ImageAt(int row, int col) const
{
    if (!m_range.Holds(row, col))
        return nullptr;
    return PictureOf(m_tiles[Place(row, col)]);
}

std::size_t SourceTiles::Place(int row, int col) const
{
    return static_cast<std::size_t>(m_range.PlaceOf(row, col));
}

bool FetchSourceTiles(SourceTiles& tiles,
                      KxTSDParamItem& source,
                      int level,
                      int requestParam,
                      const CacheSwitches& switches)
{
    if (!tiles.IsInBounds())
        return false;
    const TileRange& range = tiles.Range();
    for (int row = range.m_minRow; row <= range.m_maxRow; ++row)
        for (int col = range.m_minCol; col <= range.m_maxCol; ++col) {
            KxWMImageTileData* tile = nullptr;
            if (FetchSourceTile(tile, source, {level, row, col}, requestParam, switches) ==
                NetError_Failure)
                return false;
            tiles.Put(row, col, tile);
            if (!tiles.IsInBounds())
                return false;
        }
    return true;
}

} // namespace KxC
