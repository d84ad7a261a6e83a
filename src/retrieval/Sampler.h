// SPDX-License-Identifier: MIT
/// Fills an output picture from source tiles.
#pragma once

#include "SourceTiles.h"

#include <cmath>
#include <vector>

namespace KxC {

/// Where the pixels of one axis are sampled: from the first edge on in steps, and the last of them
/// just inside the far edge instead of on it. Each position is the one before plus the step, so
/// that rounding adds up the same way for everyone.
/// @param count  1 or more
std::vector<double> SamplePositions(double from, double to, double step, int count);

/// Fills a picture by asking the grid for each of its pixels. Pixels without a source picture stay
/// as they are.
/// @param xs, ys  as many positions as the picture has columns and rows
/// @param toGrid  (x, y) -> GridPosition
template <class ToGrid>
void SampleEachPixel(KxImageData& output,
                     const std::vector<double>& xs,
                     const std::vector<double>& ys,
                     const SourceTiles& tiles,
                     const ToGrid& toGrid)
{
    const int pixelSize = output.GetPixelSize();
    unsigned char pixel[4] = {};
    for (int row = 0; row < output.GetHeight(); ++row)
        for (int column = 0; column < output.GetWidth(); ++column) {
            const GridPosition position =
                toGrid(xs[static_cast<std::size_t>(column)], ys[static_cast<std::size_t>(row)]);
            const KxImageData* image = tiles.ImageAt(TileIndex(position.m_row, IndexRule::Floor),
                                                     TileIndex(position.m_col, IndexRule::Floor));
            if (image == nullptr)
                continue;
            image->GetValue2(position.m_col - std::floor(position.m_col),
                             position.m_row - std::floor(position.m_row),
                             pixel,
                             pixelSize);
            output.SetValue(row, column, pixel, pixelSize);
        }
}

} // namespace KxC
