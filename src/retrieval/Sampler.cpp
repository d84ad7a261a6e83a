// SPDX-License-Identifier: MIT
#include "Sampler.h"

namespace KxC {

std::vector<double> SamplePositions(double from, double to, double step, int count)
{
    std::vector<double> positions(static_cast<std::size_t>(count));
    double at = from;
    for (int i = 0; i < count; ++i) {
        positions[static_cast<std::size_t>(i)] = at;
        at = i == count - 2 ? to - step * 0.0001 : at + step;
    }
    return positions;
}

} // namespace KxC
