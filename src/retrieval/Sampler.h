// SPDX-License-Identifier: MIT
/// Fills an output picture from source tiles: each pixel by its place in the source's grid.
#pragma once

#include "KxImageData.h"
#include "TileGrid.h"
#include "TileRange.h"

#include <cmath>
#include <vector>

namespace KxC {

/// Where the pixels of one axis are sampled: from the first edge on in steps, and the last of them
/// just inside the far edge instead of on it. Each position is the one before plus the step, so
/// that rounding adds up the same way for everyone.
/// @param count  1 or more
std::vector<double> SamplePositions(double from, double to, double step, int count);

/// The positions of SamplePositions one after another.
class SampleWalk
{
public:
    /// @param count  1 or more
    SampleWalk(double from, double to, double step, int count)
        : m_at(from), m_to(to), m_step(step), m_count(count)
    {
    }
    /// Not called more than `count` times.
    double Next()
    {
        const double at = m_at;
        m_at = m_next == m_count - 2 ? m_to - m_step * 0.0001 : at + m_step;
        ++m_next;
        return at;
    }

private:
    double m_at;
    double m_to;
    double m_step;
    int m_count;
    int m_next = 0;
};

/// A place as its tile and the position inside it.
struct PlaceInTile
{
    explicit PlaceInTile(const GridPosition& place)
    {
        const double tileRow = std::floor(place.m_row);
        const double tileCol = std::floor(place.m_col);
        m_row = TileIndex(tileRow, IndexRule::Truncate);
        m_col = TileIndex(tileCol, IndexRule::Truncate);
        m_u = place.m_col - tileCol;
        m_v = place.m_row - tileRow;
    }
    int m_row;
    int m_col;
    double m_u; ///< from the west edge, [0, 1)
    double m_v; ///< from the south edge, [0, 1)
};

/// Takes one pixel from the tile at a place, by the rule of KxImageData::GetValue2. Without a
/// picture there, the pixel stays as it is.
/// @param tiles  ImageAt(row, column) answers a tile's picture or null
template <class Tiles>
void SamplePixel(KxImageData& output, int row, int column, Tiles& tiles, const GridPosition& place)
{
    const PlaceInTile at(place);
    const KxImageData* image = tiles.ImageAt(at.m_row, at.m_col);
    if (image == nullptr)
        return;
    unsigned char pixel[4] = {};
    image->GetValue2(at.m_u, at.m_v, pixel, output.GetPixelSize());
    output.SetValue(row, column, pixel, output.GetPixelSize());
}

/// Takes every pixel from its place.
/// @param placesOfRow  (row, std::vector<GridPosition>&): fills in the places of an output row
template <class Tiles, class PlacesOfRow>
void SampleRows(KxImageData& output, Tiles& tiles, const PlacesOfRow& placesOfRow)
{
    std::vector<GridPosition> places(static_cast<std::size_t>(output.GetWidth()));
    for (int row = 0; row < output.GetHeight(); ++row) {
        placesOfRow(row, places);
        for (int column = 0; column < output.GetWidth(); ++column)
            SamplePixel(output, row, column, tiles, places[static_cast<std::size_t>(column)]);
    }
}

} // namespace KxC
