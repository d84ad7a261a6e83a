// SPDX-License-Identifier: MIT
#pragma once

#include "ImagePlane.h"
#include "Projection.h"
#include "RasterCrs.h"

#include <memory>
#include <string>

class GDALDataset;

namespace KxC {

/// Where a raster's pixels lie on the earth. Pixel positions count from the outer corner of the
/// raster's first pixel; degrees are longitude (x) and latitude (y) of WGS 84.
/// Threads: const use may be shared.
class Georeference
{
public:
    /// @param path  of the raster's file, where its world file may have a .prj file beside it
    /// @return null when the raster has none, or its coordinate system is not understood
    static std::unique_ptr<Georeference> Of(GDALDataset& dataset, const std::string& path);

    const RasterCrs& Crs() const { return m_crs; }
    bool IsGeographic() const { return m_crs.m_isGeographic; }
    /// True when a pixel's column depends on longitude alone, its row on latitude alone, and both
    /// evenly.
    bool IsEven() const { return m_crs.m_isWgs84 && m_plane->IsUpright(); }
    /// Pixels of a turn around the earth, along a row; infinite where rows do not go round. A
    /// position and one a turn away are the same place.
    double Turn() const { return m_turn; }

    /// Turns points in place; those that cannot be turned become NaN.
    void ToPixels(KxPoint3d* degrees, int count) const;
    void ToDegrees(KxPoint3d* pixels, int count) const;

private:
    Georeference() = default;

    void Convert(PJ_DIRECTION direction, KxPoint3d* points, int count) const;
    double MeasureTurn() const;

    RasterCrs m_crs;
    std::unique_ptr<ImagePlane> m_plane;
    std::unique_ptr<Projection> m_projection; ///< null where the plane is in degrees of WGS 84
    double m_turn = 0;
};

} // namespace KxC
