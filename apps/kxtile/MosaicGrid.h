// SPDX-License-Identifier: MIT
#pragma once

#include "KxRect2d.h"

#include <string>

namespace KxTileHost {

/// What a user wants a picture of, in units of a coordinate system.
struct MosaicRequest
{
    KxC::KxRect2d m_bounds;
    double m_resolution = 0.0; ///< units a pixel
};

/// Reads "WEST,SOUTH,EAST,NORTH", four numbers in any unit.
/// @throws CommandError (wrong usage) for anything else, and where they are in another order
KxC::KxRect2d ParseBounds(const std::string& text);

/// The pixels of a picture, from the west and the north edge of the bounds on.
struct MosaicGrid
{
    int m_width;            ///< pixels
    int m_height;           ///< pixels
    int m_level;            ///< of the raster's tiles
    KxC::KxRect2d m_extent; ///< of these pixels, metres
    double m_pixelSize;     ///< units of the system
    double m_firstX;        ///< of the middle of the north-western pixel, units
    double m_firstY;

    /// Whether there can be a picture of these pixels with as many bytes each: 3, or 4 with alpha.
    bool IsPossible(int pixelBytes) const;
};

/// @param metresPerUnit  of the system; those of a degree on the equator where it is in degrees
/// @throws CommandError (wrong usage) where the picture would have no pixel, or too many
MosaicGrid PlanMosaic(const MosaicRequest& request, double metresPerUnit);

} // namespace KxTileHost
