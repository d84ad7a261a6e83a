// SPDX-License-Identifier: MIT
#include "JoinedTiles.h"

namespace KxC {

std::optional<JoinedTiles> JoinedTiles::Of(const SourceTiles& tiles)
{
    const TileRange& range = tiles.Range();
    JoinedTiles joined;
    for (int row = range.m_minRow; row <= range.m_maxRow; ++row)
        for (int col = range.m_minCol; col <= range.m_maxCol; ++col)
            if (!joined.Take(tiles.ImageAt(row, col)))
                return std::nullopt;
    joined.m_columns = PlacesOf(range.Columns(), 1, joined.m_tileWidth);
    joined.m_rows =
        PlacesOf(range.Rows(), static_cast<std::size_t>(range.Columns()), joined.m_tileHeight);
    return joined;
}

bool JoinedTiles::Take(const KxImageData* image)
{
    m_pictures.emplace_back();
    if (image == nullptr)
        return true;
    if (m_tileWidth == 0) {
        m_tileWidth = image->GetWidth();
        m_tileHeight = image->GetHeight();
    }
    m_pictures.back() = {
        image->GetData(), static_cast<std::size_t>(image->GetRowBytes()), image->GetPixelSize()};
    return image->GetWidth() == m_tileWidth && image->GetHeight() == m_tileHeight;
}

std::vector<JoinedTiles::Place>
JoinedTiles::PlacesOf(long long tiles, std::size_t tileStep, int pixels)
{
    std::vector<Place> places;
    for (std::size_t tile = 0; tile < static_cast<std::size_t>(tiles); ++tile)
        for (std::size_t pixel = 0; pixel < static_cast<std::size_t>(pixels); ++pixel)
            places.push_back({tile * tileStep, pixel});
    return places;
}

} // namespace KxC
