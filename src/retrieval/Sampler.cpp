// SPDX-License-Identifier: MIT
#include "Sampler.h"

namespace KxC {

std::vector<double> SamplePositions(double from, double to, double step, int count)
{
    std::vector<double> positions(static_cast<std::size_t>(count));
    SampleWalk walk(from, to, step, count);
    for (double& position : positions)
        position = walk.Next();
    return positions;
}

} // namespace KxC
