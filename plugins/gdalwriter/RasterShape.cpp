// SPDX-License-Identifier: MIT
#include "RasterShape.h"

#include <cmath>

namespace KxC {

namespace {

constexpr long long kMaxPixels = 1LL << 40;

bool IsExtent(const KxRect2d& rect)
{
    const double width = rect.m_dRight - rect.m_dLeft;
    const double height = rect.m_dTop - rect.m_dBottom;
    return std::isfinite(width) && std::isfinite(height) && width > 0 && height > 0;
}

} // namespace

std::string FaultOf(const RasterShape& shape)
{
    if (shape.m_width < 1 || shape.m_height < 1)
        return "a raster of " + std::to_string(shape.m_width) + " x " +
               std::to_string(shape.m_height) + " pixels holds nothing; each side is 1 or more";
    if (static_cast<long long>(shape.m_width) * shape.m_height > kMaxPixels)
        return "a raster of " + std::to_string(shape.m_width) + " x " +
               std::to_string(shape.m_height) +
               " pixels is more than 2^40; choose a coarser resolution or a smaller extent";
    if (shape.m_bands != 3 && shape.m_bands != 4)
        return std::to_string(shape.m_bands) + " bytes a pixel; 3 (R, G, B) or 4 (and alpha) work";
    if (!IsExtent(shape.m_rect))
        return "the extent is empty or no number; left must be below right, bottom below top";
    return {};
}

} // namespace KxC
