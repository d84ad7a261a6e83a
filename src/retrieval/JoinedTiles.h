// SPDX-License-Identifier: MIT
#pragma once

#include "PixelCopy.h"
#include "SourceTiles.h"

#include <optional>
#include <vector>

namespace KxC {

/// Source tiles of one size as one large picture, whose pixels count from the range's south-west
/// corner. The tiles must outlive it.
class JoinedTiles
{
public:
    /// @return nothing where the pictures differ in size
    static std::optional<JoinedTiles> Of(const SourceTiles& tiles);

    std::size_t Width() const { return m_columns.size(); }
    std::size_t Height() const { return m_rows.size(); }
    int TileWidth() const { return m_tileWidth; }
    int TileHeight() const { return m_tileHeight; }

    /// Copies one pixel to one of ToSize bytes; nothing where no picture is.
    template <int ToSize>
    void CopyTo(unsigned char* to, std::size_t row, std::size_t column) const
    {
        const Place& y = m_rows[row];
        const Place& x = m_columns[column];
        const Picture& picture = m_pictures[y.m_tile + x.m_tile];
        if (picture.m_bytes == nullptr)
            return;
        const unsigned char* from = picture.m_bytes + y.m_pixel * picture.m_rowBytes;
        if (picture.m_pixelSize == 4)
            CopyPixel<4, ToSize>(from + x.m_pixel * 4, to);
        else
            CopyPixel<3, ToSize>(from + x.m_pixel * 3, to);
    }

    /// The pixels of a row from one column to another, if one tile has them all; else null.
    PixelRow<const unsigned char> RowOf(std::size_t row, std::size_t first, std::size_t last) const
    {
        const Place& y = m_rows[row];
        const Place& x = m_columns[first];
        const Picture& picture = m_pictures[y.m_tile + x.m_tile];
        if (x.m_tile != m_columns[last].m_tile || picture.m_bytes == nullptr)
            return {nullptr, 0};
        return {picture.m_bytes + y.m_pixel * picture.m_rowBytes +
                    x.m_pixel * static_cast<std::size_t>(picture.m_pixelSize),
                picture.m_pixelSize};
    }

private:
    struct Picture
    {
        const unsigned char* m_bytes = nullptr;
        std::size_t m_rowBytes = 0;
        int m_pixelSize = 0;
    };
    /// A row or column of the large picture: where its tiles begin in m_pictures, and which row or
    /// column of theirs it is.
    struct Place
    {
        std::size_t m_tile;
        std::size_t m_pixel;
    };

    bool Take(const KxImageData* image);
    static std::vector<Place> PlacesOf(long long tiles, std::size_t tileStep, int pixels);

    int m_tileWidth = 0;
    int m_tileHeight = 0;
    std::vector<Picture> m_pictures;
    std::vector<Place> m_columns;
    std::vector<Place> m_rows;
};

} // namespace KxC
