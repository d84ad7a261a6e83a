// SPDX-License-Identifier: MIT
#pragma once

#include "KxImageData.h"

#include <memory>
#include <new>

namespace KxC {

class MosaicRows;
class MosaicTiles;

/// There is no memory for the picture itself: the one failure that callers of FetchImage see.
class NoMemoryForPicture : public std::bad_alloc
{
};

/// The picture that a mosaic becomes, filled row by row from the south. It has alpha until all its
/// tiles have been asked and none of them needs it.
class MosaicPicture
{
public:
    /// @param width, height  within KxImageData's limits
    /// Throws NoMemoryForPicture.
    MosaicPicture(int width, int height);

    /// Fills the next row, which lies at y.
    void AddRow(MosaicRows& rows, double y, MosaicTiles& tiles);

    /// After the last row.
    void End(bool needsAlpha);

    const KxImageData& Image() const { return *m_image; }

private:
    std::unique_ptr<KxImageData> m_image;
    int m_rows = 0; ///< filled
};

} // namespace KxC
