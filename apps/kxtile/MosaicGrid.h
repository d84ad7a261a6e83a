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

/// How the library is to be asked so that the pixels of its picture lie on the grid of the bounds:
/// from their west and north edge on, one resolution wide and high each. The library takes the
/// first and last pixel of a row from the very edges of the extent it is given, and its spacing is
/// always a little wider than its resolution; so extent and resolution must be a little smaller.
struct MosaicGrid
{
    int m_width;            ///< pixels
    int m_height;           ///< pixels
    int m_level;            ///< of the raster's tiles
    KxC::KxRect2d m_extent; ///< to ask for, metres
    double m_resolution;    ///< to ask for
    /// Where the pixels lie then, in units of the system: the asked grid, but for pictures more
    /// than twice as wide as high or the other way round, and where a smaller resolution would
    /// need tiles that are finer still: in these the places are off by up to half a pixel, and so
    /// are these numbers.
    double m_pixelWidth;
    double m_pixelHeight;
    double m_firstX; ///< of the middle of the north-western pixel
    double m_firstY;
};

/// @param metresPerUnit  of the system; those of a degree on the equator where it is in degrees
/// @throws CommandError (wrong usage) where the picture would have no pixel, or too many
MosaicGrid PlanMosaic(const MosaicRequest& request, double metresPerUnit);

} // namespace KxTileHost
