// SPDX-License-Identifier: MIT
/// Places as fixed-point numbers: what is done for each pixel is whole numbers' work.
#pragma once

#include <cstdint>

namespace KxC {

inline constexpr int kFractionBits = 32;
inline constexpr double kPixelOne = 4294967296.0;

/// Places along one axis of a stretch of outputs, in source pixels times 2^32.
struct Ramp
{
    std::int64_t m_at;
    std::int64_t m_step;

    /// The source pixel of an output of the stretch.
    std::int64_t PixelAt(int i) const { return At(i) >> kFractionBits; }
    std::int64_t At(int i) const { return m_at + i * m_step; }

    static Ramp Between(double from, double to, int count)
    {
        return {static_cast<std::int64_t>(from * kPixelOne),
                static_cast<std::int64_t>((to - from) / count * kPixelOne)};
    }
};

/// The fractions of a pixel that leave no doubt: away from both of its edges by the error.
class SureFractions
{
public:
    /// @param error  pixels; from a half on, and where it is not known, no fraction is sure
    explicit SureFractions(double error)
    {
        if (!(error < 0.5))
            return;
        m_edge = static_cast<std::uint32_t>(error * kPixelOne) + 1;
        m_width = static_cast<std::uint32_t>(kPixelOne - 2.0 * m_edge);
    }
    bool Hold(std::int64_t at) const { return static_cast<std::uint32_t>(at) - m_edge < m_width; }

private:
    std::uint32_t m_edge = 0;
    std::uint32_t m_width = 0;
};

} // namespace KxC
