// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <optional>
#include <vector>

class GDALDataset;

namespace KxC {

/// How a raster's bands become colours.
struct BandPlan
{
    using Rgba = std::array<unsigned char, 4>;

    enum class Kind {
        Grey,    ///< one band
        Palette, ///< one band of indexes
        Colour,  ///< red, green, blue
    };

    Kind m_kind = Kind::Grey;
    std::vector<int> m_bands; ///< numbers of the bands that are read: colours, then alpha
    int m_colours = 1;        ///< how many of them are colours: 1 or 3
    bool m_hasAlpha = false;  ///< one band more
    bool m_hasMask = false;   ///< the first band's mask is read too
    bool m_isByte = true;     ///< bands hold bytes that are colours as they are
    double m_alphaScale = 1;  ///< from stored alpha to 255
    double m_low = 0;         ///< of values that are no bytes: what becomes 0,
    double m_high = 255;      ///< and what becomes 255
    bool m_hasNoData = false; ///< all of the next are there
    std::array<double, 3> m_noData = {}; ///< colours that together mean "nothing here"
    std::vector<Rgba> m_palette;

    /// True when every pixel can be seen.
    bool IsOpaque() const;
};

/// @return nothing when no band can be read
std::optional<BandPlan> MakeBandPlan(GDALDataset& dataset);

} // namespace KxC
