// SPDX-License-Identifier: MIT
/// The codes of tile-source records that stand for more than a grid; see SourceGrid.h for those.
#pragma once

namespace KxTileHost::Scheme {

constexpr int kTianDiTuLatLon = 5;
constexpr int kBingMap = 6;
constexpr int kEarthHistory = 8;
constexpr int kThreeQuarterRows = 14;

constexpr bool HasThreeQuarterRows(int scheme)
{
    return scheme == kTianDiTuLatLon || scheme == kThreeQuarterRows;
}

} // namespace KxTileHost::Scheme
