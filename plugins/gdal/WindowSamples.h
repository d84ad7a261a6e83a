// SPDX-License-Identifier: MIT
#pragma once

#include "BandPlan.h"
#include "PixelMap.h"
#include "ReadBudget.h"

#include <cstddef>
#include <vector>

class GDALDataset;

namespace KxC {

/// The bands of a window's pixels, read at once. Only within a GdalScope.
template <typename Sample> // unsigned char or double
class WindowSamples
{
public:
    WindowSamples(GDALDataset& dataset, const BandPlan& plan, ReadBudget& budget)
        : m_dataset(dataset), m_plan(plan), m_budget(budget)
    {
    }

    /// @return false when the file cannot be read there, or the budget is spent
    bool Read(const RasterWindow& window);

    const RasterWindow& Window() const { return m_window; }
    /// The values of a pixel of the window, in the order of the plan's bands.
    const Sample* At(int column, int row) const { return &m_values[Index(column, row) * Bands()]; }
    /// 0 where the raster's mask says that there is nothing.
    unsigned char MaskAt(int column, int row) const
    {
        return m_plan.m_hasMask ? m_mask[Index(column, row)] : 255;
    }

private:
    std::size_t Bands() const { return m_plan.m_bands.size(); }
    std::size_t Index(int column, int row) const
    {
        return static_cast<std::size_t>(row - m_window.m_top) *
                   static_cast<std::size_t>(m_window.m_width) +
               static_cast<std::size_t>(column - m_window.m_left);
    }

    GDALDataset& m_dataset;
    const BandPlan& m_plan;
    ReadBudget& m_budget;
    RasterWindow m_window = {};
    std::vector<Sample> m_values;
    std::vector<unsigned char> m_mask;
};

extern template class WindowSamples<unsigned char>;
extern template class WindowSamples<double>;

} // namespace KxC
