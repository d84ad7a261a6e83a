// SPDX-License-Identifier: MIT
#include "PixelPositions.h"

#include <algorithm>
#include <cmath>

namespace KxC {

PixelPositions::PixelPositions(double from, double step, int count)
    : m_from(from), m_step(step), m_count(static_cast<std::size_t>(count))
{
}

PixelPositions PixelPositions::EdgeToEdge(double from, double to, int count)
{
    PixelPositions positions(from, (to - from) / (count - 1), count);
    SampleWalk walk(from, to, positions.m_step, count);
    for (std::size_t i = 0; i < positions.m_count; ++i) {
        if (i % kBlock == 0)
            positions.m_walks.push_back(walk);
        walk.Next();
    }
    positions.m_wobble = positions.FindWobble();
    return positions;
}

PixelPositions PixelPositions::Centres(double from, double to, int count)
{
    PixelPositions positions(from, (to - from) / count, count);
    positions.m_wobble = positions.FindWobble();
    return positions;
}

void PixelPositions::Tell(std::size_t begin, std::vector<double>& positions) const
{
    positions.resize(std::min(kBlock, m_count - begin));
    if (m_walks.empty()) {
        for (std::size_t i = 0; i < positions.size(); ++i)
            positions[i] = Centre(begin + i);
        return;
    }
    SampleWalk walk = m_walks[begin / kBlock];
    for (double& position : positions)
        position = walk.Next();
}

double PixelPositions::FindWobble() const
{
    if (m_count < 3)
        return 0;
    const std::size_t last = m_count - 2; // the very last is never evenly spaced
    std::vector<double> block;
    Tell(last / kBlock * kBlock, block);
    const double end = block[last % kBlock];
    Tell(0, block);
    const double begin = block[0];
    const double step = (end - begin) / static_cast<double>(last);
    double wobble = 0;
    for (std::size_t first = 0; first < last; first += kBlock) {
        Tell(first, block);
        for (std::size_t i = 0; i < block.size() && first + i < last; ++i)
            wobble = std::max(wobble,
                              std::abs(block[i] - begin - step * static_cast<double>(first + i)));
    }
    return wobble / step;
}

} // namespace KxC
