// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace KxTileHost {

/// Where the pixels of a picture lie.
struct PixelPlaces
{
    double m_firstX; ///< of the middle of the north-western pixel, units of the coordinate system
    double m_firstY;
    double m_pixelWidth; ///< units
    double m_pixelHeight;
};

/// The coordinate system as GeoTIFF names it.
struct GeoTiffCrs
{
    bool m_inDegrees = false;
    int m_epsg = 0;        ///< 0 where it has no code
    std::string m_esriPrj; ///< for a system without code
};

/// Gives a TIFF file its georeference: appends a directory that has GeoTIFF's tags besides those
/// that are there. Only for what the library writes: one directory, 32-bit offsets, little-endian,
/// no such tags yet.
/// @throws CommandError where the file is another, or cannot be written
void AddGeoTiffTags(const std::string& path, const PixelPlaces& places, const GeoTiffCrs& crs);

} // namespace KxTileHost
