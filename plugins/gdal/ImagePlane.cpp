// SPDX-License-Identifier: MIT
#include "ImagePlane.h"

#include <gdal_alg.h>
#include <gdal_priv.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace KxC {

namespace {

using Affine = std::array<double, 6>;

constexpr Affine kIdentity = {0, 1, 0, 0, 0, 1};
constexpr int kMaxPoints = 10000; ///< ground control points; a fit through them takes their number

void Apply(const Affine& affine, KxPoint3d& point)
{
    const double x = point.x;
    point.x = affine[0] + x * affine[1] + point.y * affine[2];
    point.y = affine[3] + x * affine[4] + point.y * affine[5];
}

void Apply(const Affine& affine, KxPoint3d* points, int count)
{
    for (int i = 0; i < count; ++i)
        Apply(affine, points[i]);
}

bool IsFinite(const Affine& affine)
{
    return std::all_of(affine.begin(), affine.end(), [](double value) {
        return std::isfinite(value) && std::abs(value) < 1e15;
    });
}

} // namespace

std::unique_ptr<ImagePlane> ImagePlane::Of(GDALDataset& dataset)
{
    std::unique_ptr<ImagePlane> plane(new ImagePlane);
    if (plane->TakeAffine(dataset) || plane->TakePoints(dataset))
        return plane;
    return nullptr;
}

bool ImagePlane::TakeAffine(GDALDataset& dataset)
{
    // Drivers answer the identity for what has no place on the earth.
    return dataset.GetGeoTransform(m_toPlane.data()) == CE_None && m_toPlane != kIdentity &&
           IsFinite(m_toPlane) && GDALInvGeoTransform(m_toPlane.data(), m_toPixels.data()) != 0 &&
           IsFinite(m_toPixels);
}

bool ImagePlane::TakePoints(GDALDataset& dataset)
{
    const int count = dataset.GetGCPCount();
    if (count < 3 || count > kMaxPoints)
        return false;
    constexpr int kOrderByCount = 0;
    m_polynomial = {GDALCreateGCPTransformer(count, dataset.GetGCPs(), kOrderByCount, 0),
                    [](void* transformer) {
                        if (transformer != nullptr)
                            GDALDestroyGCPTransformer(transformer);
                    }};
    return m_polynomial != nullptr;
}

bool ImagePlane::IsUpright() const
{
    return m_polynomial == nullptr && m_toPlane[2] == 0 && m_toPlane[4] == 0;
}

void ImagePlane::ToPixels(KxPoint3d* points, int count) const
{
    if (m_polynomial == nullptr)
        Apply(m_toPixels, points, count);
    else
        Polynomial(true, points, count);
}

void ImagePlane::ToPlane(KxPoint3d* points, int count) const
{
    if (m_polynomial == nullptr)
        Apply(m_toPlane, points, count);
    else
        Polynomial(false, points, count);
}

void ImagePlane::Polynomial(bool toPixels, KxPoint3d* points, int count) const
{
    constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
    for (int i = 0; i < count; ++i) {
        KxPoint3d& point = points[i];
        int success = 0;
        if (std::isfinite(point.x) && std::isfinite(point.y))
            GDALGCPTransform(
                m_polynomial.get(), toPixels ? 1 : 0, 1, &point.x, &point.y, &point.z, &success);
        if (success == 0)
            point = {kNone, kNone, 0};
    }
}

} // namespace KxC
