// SPDX-License-Identifier: MIT
#pragma once

#include "KxImageData.h"
#include "TileGrid.h"

#include <memory>
#include <vector>

namespace KxC {

class MosaicTiles;

/// The picture that a mosaic becomes, filled row by row from the south. It begins without alpha and
/// gets it when the tiles turn out to need it.
class MosaicPicture
{
public:
    /// @param width, height  within KxImageData's limits
    /// Throws std::bad_alloc.
    MosaicPicture(int width, int height);

    /// Takes the pixels of the next row from their places.
    void AddRow(MosaicTiles& tiles, const std::vector<GridPosition>& places);

    /// Makes the rows so far as if the picture had had alpha from the start. Throws std::bad_alloc.
    void AddAlpha();

    const KxImageData& Image() const { return *m_image; }

private:
    void NoteHoles(MosaicTiles& tiles, const std::vector<GridPosition>& places);

    std::unique_ptr<KxImageData> m_image;
    int m_rows = 0; ///< filled
    /// Pixels that nothing was written to while there was no alpha: they are to be transparent, not
    /// black. Empty as long as there are none.
    std::vector<bool> m_holes;
};

} // namespace KxC
