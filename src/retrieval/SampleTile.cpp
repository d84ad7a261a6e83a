// SPDX-License-Identifier: MIT
#include "SampleTile.h"

#include "KxMath.h"
#include "Sampler.h"
#include "SeparableSampler.h"
#include "ShiftedSampler.h"

namespace KxC {

namespace {

/// Whether columns depend on x alone and rows on y alone.
bool IsSeparable(const SourceGrid& grid)
{
    switch (GridOfScheme(grid.m_scheme)) {
    case TileGrid::WebMercator:
        return grid.m_datum != KxDatum_GCJ02 && grid.m_datum != KxDatum_BD09;
    case TileGrid::Baidu:
        return false;
    case TileGrid::Geographic:
        return true;
    }
    return false;
}

} // namespace

SampleAxes AxesOf(const WebMercatorTile& tile, int tileSize)
{
    const Extent extent = ExtentOf(tile);
    const double step = TileSpan(tile.m_level) / (tileSize - 1);
    return {SamplePositions(extent.m_minX, extent.m_maxX, step, tileSize),
            SamplePositions(extent.m_minY, extent.m_maxY, step, tileSize)};
}

void SampleTile(KxImageData& output,
                const SampleAxes& axes,
                const SourceTiles& tiles,
                const SourceGrid& grid)
{
    const bool nearest = !KxImageData::IsBilinear();
    if (IsSeparable(grid))
        return nearest ? SampleSeparableNearest(output, axes, tiles, grid)
                       : SampleSeparable(output, axes, tiles, grid);
    if (nearest && SampleShiftedNearest(output, axes, tiles, grid))
        return;
    SampleTileByDefinition(output, axes, tiles, grid);
}

void SampleTileByDefinition(KxImageData& output,
                            const SampleAxes& axes,
                            const SourceTiles& tiles,
                            const SourceGrid& grid)
{
    SampleRows(output, tiles, [&](int row, std::vector<GridPosition>& places) {
        for (std::size_t i = 0; i < places.size(); ++i)
            places[i] = grid(axes.m_xs[i], axes.m_ys[static_cast<std::size_t>(row)]);
    });
}

} // namespace KxC
