// SPDX-License-Identifier: MIT
#include "Sampler.h"

#include <cmath>

namespace KxC {

std::vector<double> SamplePositions(double from, double to, double step, int count)
{
    std::vector<double> positions(static_cast<std::size_t>(count));
    double at = from;
    for (int i = 0; i < count; ++i) {
        positions[static_cast<std::size_t>(i)] = at;
        at = i == count - 2 ? to - step * 0.0001 : at + step;
    }
    return positions;
}

void SamplePixel(
    KxImageData& output, int row, int column, const SourceTiles& tiles, const GridPosition& place)
{
    const double tileRow = std::floor(place.m_row);
    const double tileCol = std::floor(place.m_col);
    const KxImageData* image = tiles.ImageAt(TileIndex(tileRow, IndexRule::Truncate),
                                             TileIndex(tileCol, IndexRule::Truncate));
    if (image == nullptr)
        return;
    unsigned char pixel[4] = {};
    image->GetValue2(place.m_col - tileCol, place.m_row - tileRow, pixel, output.GetPixelSize());
    output.SetValue(row, column, pixel, output.GetPixelSize());
}

} // namespace KxC
