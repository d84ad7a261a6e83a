// SPDX-License-Identifier: MIT
#pragma once

#include "BandPlan.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>

namespace KxC {

/// Turns the values of a raster's bands into colours, as its plan says.
class Colours
{
public:
    explicit Colours(const BandPlan& plan)
        : m_plan(plan), m_stretch(plan.m_high > plan.m_low ? 255 / (plan.m_high - plan.m_low) : 0)
    {
    }

    /// @param values  in the order of the plan's bands
    /// @param pixel   R, G, B and alpha; four zeros where there is nothing
    template <typename Sample>
    void Paint(const Sample* values, unsigned char mask, unsigned char* pixel) const
    {
        pixel[3] = mask == 0 || IsNothing(values) ? 0 : AlphaOf(values);
        if (m_plan.m_kind == BandPlan::Kind::Palette)
            TakeEntry(static_cast<double>(values[0]), pixel);
        else
            for (std::size_t i = 0; i < 3; ++i)
                pixel[i] = ByteOf(values[m_plan.m_colours == 3 ? i : 0]);
        if (pixel[3] == 0)
            std::memset(pixel, 0, 4);
    }

private:
    template <typename Sample>
    bool IsNothing(const Sample* values) const
    {
        const auto count = static_cast<std::size_t>(m_plan.m_colours);
        bool isNoData = m_plan.m_hasNoData;
        for (std::size_t i = 0; i < count; ++i) {
            const auto value = static_cast<double>(values[i]);
            if (std::isnan(value))
                return true;
            isNoData = isNoData && value == m_plan.m_noData[i];
        }
        return isNoData;
    }

    template <typename Sample>
    unsigned char AlphaOf(const Sample* values) const
    {
        if (!m_plan.m_hasAlpha)
            return 255;
        const auto alpha = static_cast<double>(values[m_plan.m_bands.size() - 1]);
        return Rounded(alpha * m_plan.m_alphaScale);
    }

    static unsigned char Rounded(double value)
    {
        // NaN, which compares with nothing, becomes 0.
        return value > 0 ? static_cast<unsigned char>(std::min(value, 255.0) + 0.5) : 0;
    }
    static unsigned char ByteOf(unsigned char value) { return value; }
    unsigned char ByteOf(double value) const { return Rounded((value - m_plan.m_low) * m_stretch); }

    void TakeEntry(double index, unsigned char* pixel) const
    {
        if (!(index >= 0 && index < static_cast<double>(m_plan.m_palette.size()))) {
            pixel[3] = 0;
            return;
        }
        const BandPlan::Rgba& entry = m_plan.m_palette[static_cast<std::size_t>(index)];
        std::copy_n(entry.begin(), 3, pixel);
        pixel[3] = std::min(pixel[3], entry[3]);
    }

    const BandPlan& m_plan;
    double m_stretch; ///< grey levels for a unit of the raster's values; 0 where they are all one
};

} // namespace KxC
