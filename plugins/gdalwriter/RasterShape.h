// SPDX-License-Identifier: MIT
#pragma once

#include "KxRect2d.h"

#include <string>

namespace KxC {

/// Size, bands and place of a raster that is to be written.
struct RasterShape
{
    int m_width;
    int m_height;
    int m_bands; ///< 3 or 4
    KxRect2d m_rect;
    std::string m_wkt;
};

/// What is wrong with a shape, the coordinate system aside; empty when nothing is.
std::string FaultOf(const RasterShape& shape);

} // namespace KxC
