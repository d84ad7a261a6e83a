// SPDX-License-Identifier: MIT
#pragma once

#include "ImagePlane.h"

#include <string>

class GDALDataset;

namespace KxC {

/// The coordinate system of a raster's plane.
struct RasterCrs
{
    std::string m_wkt;           ///< WKT 2; empty when `m_isWgs84`
    bool m_isGeographic = false; ///< degrees
    bool m_isWgs84 = false;      ///< longitude and latitude of WGS 84 as they are
    bool m_goesRound = false;    ///< x is a multiple of longitude: a turn is a distance in x
};

/// What the raster says of itself; else the .prj file beside it; else, where its extent fits into
/// the world's degrees, WGS 84; else, where it fits into the Web Mercator square, that.
/// @return false when none of these is there
bool FindCrs(GDALDataset& dataset,
             const std::string& path,
             const ImagePlane& plane,
             RasterCrs& crs);

} // namespace KxC
