// SPDX-License-Identifier: MIT
#include "TransformGrid.h"

#include "KxTileFetcher.h"
#include "TileNumbers.h"

#include <algorithm>

namespace KxC {

TransformGrid::TransformGrid(const KxCoordSysTrans& transform, int level)
    : m_transform(transform), m_span(360.0 / TilesPerAxis(level))
{
}

GridPosition TransformGrid::operator()(double x, double y) const
{
    KxPoint3d degrees;
    m_transform.SrcPtToWGS84Pt(KxPoint3d(x, y, 0), degrees);
    return PlaceOf(degrees);
}

void TransformGrid::PlacesOf(const std::vector<double>& xs,
                             double y,
                             std::vector<GridPosition>& places) const
{
    std::vector<KxPoint3d> points(xs.size());
    std::transform(
        xs.begin(), xs.end(), points.begin(), [y](double x) { return KxPoint3d(x, y, 0); });
    // Apart from the points: one that cannot be converted leaves what is here.
    std::vector<KxPoint3d> degrees(xs.size());
    m_transform.SrcPtsToWGS84Pts(points.data(), degrees.data(), static_cast<int>(points.size()));
    places.resize(xs.size());
    std::transform(degrees.begin(), degrees.end(), places.begin(), [this](const KxPoint3d& point) {
        return PlaceOf(point);
    });
}

void KxTileFetcher::GetLLColRow2(
    double& column, double& row, KxCoordSysTrans* transform, double x, double y, int level)
{
    // Where no tile is: callers take negative indices for places outside the grid.
    GridPosition place{-1.0, -1.0};
    if (transform != nullptr)
        place = TransformGrid(*transform, level)(x, y);
    column = place.m_col;
    row = place.m_row;
}

} // namespace KxC
