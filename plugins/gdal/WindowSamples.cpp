// SPDX-License-Identifier: MIT
#include "WindowSamples.h"

#include <gdal_priv.h>

#include <type_traits>

namespace KxC {

template <typename Sample>
bool WindowSamples<Sample>::Read(const RasterWindow& window)
{
    constexpr GDALDataType kType = std::is_same_v<Sample, double> ? GDT_Float64 : GDT_Byte;
    if (m_budget.IsSpent())
        return false;
    const auto [left, top, width, height] = window;
    const auto pixels = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    m_window = window;
    m_values.resize(pixels * Bands());
    const auto step = static_cast<GSpacing>(Bands() * sizeof(Sample));
    GDALRasterIOExtraArg arguments = m_budget.Arguments();
    std::vector<int> bands = m_plan.m_bands; // GDAL's parameter is not const
    if (m_dataset.RasterIO(GF_Read,
                           left,
                           top,
                           width,
                           height,
                           m_values.data(),
                           width,
                           height,
                           kType,
                           static_cast<int>(Bands()),
                           bands.data(),
                           step,
                           step * width,
                           sizeof(Sample),
                           &arguments) != CE_None)
        return false;
    if (!m_plan.m_hasMask)
        return true;
    m_mask.resize(pixels);
    GDALRasterBand* mask = m_dataset.GetRasterBand(m_plan.m_bands[0])->GetMaskBand();
    arguments = m_budget.Arguments();
    return mask->RasterIO(GF_Read,
                          left,
                          top,
                          width,
                          height,
                          m_mask.data(),
                          width,
                          height,
                          GDT_Byte,
                          0,
                          0,
                          &arguments) == CE_None;
}

template class WindowSamples<unsigned char>;
template class WindowSamples<double>;

} // namespace KxC
