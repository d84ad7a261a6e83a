// SPDX-License-Identifier: MIT
#pragma once

#include "KxImageData.h"

#include <cstddef>
#include <memory>
#include <new>

namespace KxC {

class MosaicRows;
class MosaicTiles;

/// There is no memory for the picture itself: the one failure that callers of FetchImage see.
class NoMemoryForPicture : public std::bad_alloc
{
};

/// The picture needs alpha, and with it would be larger than pictures can be.
class PictureTooLarge : public std::bad_alloc
{
};

/// The picture that a mosaic becomes, filled row by row from the south. It has no alpha until a row
/// shows nothing somewhere, or a tile says that alpha is needed.
class MosaicPicture
{
public:
    /// Whether there can be a picture of so many pixels, without alpha.
    static bool IsPossible(int width, int height);

    /// Throws NoMemoryForPicture.
    MosaicPicture(int width, int height);

    /// Fills the next row, which lies at y.
    /// Throws NoMemoryForPicture and PictureTooLarge.
    void AddRow(MosaicRows& rows, double y, MosaicTiles& tiles);

    /// After the last row.
    void End(bool needsAlpha);

    const KxImageData& Image() const { return *m_image; }
    std::size_t GetBytes() const
    {
        return static_cast<std::size_t>(m_image->GetRowBytes()) *
               static_cast<std::size_t>(m_image->GetHeight());
    }

private:
    bool AddAlpha();
    void AddAlphaOrLeave(MosaicTiles& tiles);
    bool HasAlpha() const { return m_image->GetPixelSize() == 4; }

    std::unique_ptr<KxImageData> m_image;
    KxImageData m_line;          ///< the row that is filled, with alpha
    int m_rows = 0;              ///< filled
    bool m_isLeftOpaque = false; ///< what shows nothing is black
};

} // namespace KxC
