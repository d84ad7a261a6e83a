// SPDX-License-Identifier: MIT
#pragma once

#include "ImagePlane.h"

#include <string>

class GDALDataset;

namespace KxC {

/// The coordinate system of a raster's plane.
struct RasterCrs
{
    std::string m_wkt;        ///< WKT 2
    std::string m_name;       ///< for people; empty where it has none
    int m_epsg = 0;           ///< 0 where it names none
    std::string m_esriWkt;    ///< by which one is looked for then; empty where it has no such text
    bool m_isAssumed = false; ///< the raster names none
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

/// The EPSG code of a coordinate system; also of one that names none, where PROJ's database knows
/// it all the same, which takes some time. Only within a GdalScope.
/// @return 0 where there is none
int FindEpsgCode(const RasterCrs& crs);

} // namespace KxC
