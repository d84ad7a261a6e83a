// SPDX-License-Identifier: MIT
#pragma once

#include "KxImageData.h"

#include <cstddef>
#include <memory>
#include <new>
#include <vector>

namespace KxC {

class MosaicRows;
class MosaicTiles;

/// There is no memory for the picture itself: the one failure that callers of FetchImage see.
class NoMemoryForPicture : public std::bad_alloc
{
};

/// The picture that a mosaic becomes, filled row by row from the south. It begins without alpha and
/// gets it when the tiles turn out to need it.
class MosaicPicture
{
public:
    /// @param width, height  within KxImageData's limits
    /// Throws NoMemoryForPicture.
    MosaicPicture(int width, int height);

    /// Fills the next row, which lies at y.
    void AddRow(MosaicRows& rows, double y, MosaicTiles& tiles);

    /// Makes the rows so far as if the picture had had alpha from the start. Throws NoMemoryForPicture.
    void AddAlpha();

    const KxImageData& Image() const { return *m_image; }

private:
    void NoteHoles(const std::vector<std::size_t>& columns);

    std::unique_ptr<KxImageData> m_image;
    int m_rows = 0; ///< filled
    /// Pixels that nothing was written to while there was no alpha: they are to be transparent, not
    /// black. Empty as long as there are none.
    std::vector<bool> m_holes;
};

} // namespace KxC
