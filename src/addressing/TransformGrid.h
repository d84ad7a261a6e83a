// SPDX-License-Identifier: MIT
#pragma once

#include "KxCoordSysTrans.h"
#include "TileGrid.h"

#include <vector>

namespace KxC {

/// The geographic square grid at one level, for positions in a transform's source system.
/// Threads: const use of one object may be shared.
class TransformGrid
{
public:
    /// @param transform  must outlive this
    /// @param level      [0, 30]
    TransformGrid(const KxCoordSysTrans& transform, int level);

    /// The place by KxTileFetcher::GetLLColRow2.
    GridPosition operator()(double x, double y) const;

    /// The same for the points of one row, in a single batch.
    /// @param places  receives a place for each x
    void PlacesOf(const std::vector<double>& xs, double y, std::vector<GridPosition>& places) const;

    /// Where points lie that cannot be converted: at longitude 0, latitude 0. A point that is
    /// really there cannot be told from them.
    GridPosition Unconverted() const { return PlaceOf(KxPoint3d()); }

    /// Edge of a tile, degrees.
    double Span() const { return m_span; }

private:
    GridPosition PlaceOf(const KxPoint3d& degrees) const
    {
        return {(degrees.x + 180.0) / m_span, (degrees.y + 180.0) / m_span};
    }

    const KxCoordSysTrans& m_transform;
    double m_span;
};

} // namespace KxC
