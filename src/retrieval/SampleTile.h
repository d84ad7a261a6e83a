// SPDX-License-Identifier: MIT
#pragma once

#include "SourceTiles.h"
#include "TileGrid.h"

#include <vector>

namespace KxC {

/// Positions of an output tile's columns and rows, Web Mercator metres.
struct SampleAxes
{
    std::vector<double> m_xs;
    std::vector<double> m_ys;
};

/// The positions of a Web Mercator tile of `tileSize` pixels a side.
SampleAxes AxesOf(const WebMercatorTile& tile, int tileSize);

/// Fills an output tile from source tiles: every pixel as SamplePixel takes it from its place by
/// GetColRow, by the quickest way that gives just that.
/// docs/decisions/0006-regridding.md tells of the ways.
void SampleTile(KxImageData& output,
                const SampleAxes& axes,
                const SourceTiles& tiles,
                const SourceGrid& grid);

/// The definition that the quick ways keep to: GetColRow for each pixel.
void SampleTileByDefinition(KxImageData& output,
                            const SampleAxes& axes,
                            const SourceTiles& tiles,
                            const SourceGrid& grid);

} // namespace KxC
