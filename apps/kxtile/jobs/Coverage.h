// SPDX-License-Identifier: MIT
#pragma once

#include "TileJob.h"
#include "TileList.h"
#include "TileOrigin.h"

#include <string>

namespace KxTileHost {

/// Where the origin has tiles, as far as it says: "covers longitude 5.9 to 10.5, latitude 45.8 to
/// 47.8, levels 0 to 14". Empty where it says nothing.
std::string DescribeCoverage(const TileOrigin& origin);

/// What to tell of holes that tiles outside of the origin's coverage may be: that none of the tiles
/// was there, or that levels were asked for which the origin has not. Empty where there is nothing
/// to tell.
std::string HintAtCoverage(const TileOrigin& origin, const TileList& tiles, const TileJobEnd& end);

} // namespace KxTileHost
