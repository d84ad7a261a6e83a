// SPDX-License-Identifier: MIT
#pragma once

#include "Sampler.h"

#include <cstddef>
#include <vector>

namespace KxC {

/// Where the pixels of one axis of a picture are sampled, however many they are: positions are told
/// block by block, and hardly more than one of each block is kept.
class PixelPositions
{
public:
    /// Positions that are told at once.
    static constexpr std::size_t kBlock = 4097;

    /// The first and the last on the edges, by the rule of SamplePositions.
    /// @param count  1 or more
    static PixelPositions EdgeToEdge(double from, double to, int count);
    /// In the middle of what each pixel covers.
    /// @param count  1 or more
    static PixelPositions Centres(double from, double to, int count);

    std::size_t GetCount() const { return m_count; }
    /// The most by which positions but the last are off from even spacing, in spacings.
    double GetWobble() const { return m_wobble; }
    /// Positions from `begin` on, which is a multiple of kBlock: kBlock of them, or what is left.
    void Tell(std::size_t begin, std::vector<double>& positions) const;

private:
    PixelPositions(double from, double step, int count);
    double Centre(std::size_t i) const { return m_from + (static_cast<double>(i) + 0.5) * m_step; }
    double FindWobble() const;

    double m_from;
    double m_step;
    std::size_t m_count;
    std::vector<SampleWalk> m_walks; ///< one at the beginning of each block; none of centres
    double m_wobble = 0;
};

} // namespace KxC
