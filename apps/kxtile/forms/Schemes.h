// SPDX-License-Identifier: MIT
/// The codes of tile-source records that a host has to tell apart.
#pragma once

namespace KxTileHost::Scheme {

constexpr int kBaidu = 4;
constexpr int kTianDiTuLatLon = 5;
constexpr int kBingMap = 6;
constexpr int kEarthHistory = 8;
constexpr int kGeographic = 9;
constexpr int kWebMercator = 10;
constexpr int kBaiduPlain = 13;
constexpr int kThreeQuarterRows = 14;

constexpr bool IsWebMercator(int scheme)
{
    return scheme == 3 || scheme == kBingMap || scheme == kWebMercator;
}

constexpr bool IsBaidu(int scheme)
{
    return scheme == kBaidu || scheme == kBaiduPlain;
}

constexpr bool HasThreeQuarterRows(int scheme)
{
    return scheme == kTianDiTuLatLon || scheme == kThreeQuarterRows;
}

} // namespace KxTileHost::Scheme
