// SPDX-License-Identifier: MIT
#pragma once

#include "KxPoint.h"

#include <array>
#include <memory>

class GDALDataset;

namespace KxC {

/// How the pixels of a raster lie in its coordinate system: an affine transform, or polynomials
/// through ground control points. Positions are pixels from the outer corner of the first one.
/// Threads: const use may be shared.
class ImagePlane
{
public:
    /// @return null when the raster has no georeference, or none that can be inverted
    static std::unique_ptr<ImagePlane> Of(GDALDataset& dataset);

    /// Turns points in place. What cannot be turned becomes NaN.
    void ToPixels(KxPoint3d* points, int count) const;
    void ToPlane(KxPoint3d* points, int count) const;

    /// True when columns run along x and rows along y.
    bool IsUpright() const;
    /// Units for a pixel to the right, and for one down; of an upright plane.
    double ColumnStep() const { return m_toPlane[1]; }
    double RowStep() const { return m_toPlane[5]; }

private:
    ImagePlane() = default;

    bool TakeAffine(GDALDataset& dataset);
    bool TakePoints(GDALDataset& dataset);
    void Polynomial(bool toPixels, KxPoint3d* points, int count) const;

    std::array<double, 6> m_toPlane = {};
    std::array<double, 6> m_toPixels = {};
    std::shared_ptr<void> m_polynomial; ///< null where the plane is affine
};

} // namespace KxC
