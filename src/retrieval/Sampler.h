// SPDX-License-Identifier: MIT
/// Fills an output picture from source tiles: each pixel by its place in the source's grid.
#pragma once

#include "SourceTiles.h"
#include "TileGrid.h"

#include <vector>

namespace KxC {

/// Where the pixels of one axis are sampled: from the first edge on in steps, and the last of them
/// just inside the far edge instead of on it. Each position is the one before plus the step, so
/// that rounding adds up the same way for everyone.
/// @param count  1 or more
std::vector<double> SamplePositions(double from, double to, double step, int count);

/// Takes one pixel from the tile at a place, by the rule of KxImageData::GetValue2. Without a
/// picture there, the pixel stays as it is.
void SamplePixel(
    KxImageData& output, int row, int column, const SourceTiles& tiles, const GridPosition& place);

/// Takes every pixel from its place.
/// @param placesOfRow  (row, std::vector<GridPosition>&): fills in the places of an output row
template <class PlacesOfRow>
void SampleRows(KxImageData& output, const SourceTiles& tiles, const PlacesOfRow& placesOfRow)
{
    std::vector<GridPosition> places(static_cast<std::size_t>(output.GetWidth()));
    for (int row = 0; row < output.GetHeight(); ++row) {
        placesOfRow(row, places);
        for (int column = 0; column < output.GetWidth(); ++column)
            SamplePixel(output, row, column, tiles, places[static_cast<std::size_t>(column)]);
    }
}

} // namespace KxC
