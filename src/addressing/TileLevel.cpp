// SPDX-License-Identifier: MIT
#include "KxTileFetcher.h"

#include <cmath>
#include <limits>

namespace KxC {

namespace {

/// 2 pi x 6378137 m / 256: metres a pixel of level 0 of the 256-pixel Web Mercator grid.
constexpr double kLevel0Resolution = 156543.03392804097;

} // namespace

int KxTileFetcher::CalcTSZLevel(double resolution)
{
    const double level = std::ceil(std::log(kLevel0Resolution / resolution) / std::log(2.0));
    // Zero, negative and not-a-number resolutions have no level; converting them is undefined.
    const bool fits = level > -2147483649.0 && level < 2147483648.0;
    return fits ? static_cast<int>(level) : std::numeric_limits<int>::min();
}

} // namespace KxC
