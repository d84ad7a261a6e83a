// SPDX-License-Identifier: MIT
/// The texts by which definitions name schemes, datums, axis orders and row directions. All are
/// compared without regard to case.
#pragma once

#include "KxContainers.h"
#include "KxString.h"
#include "KxTime.h"

#include <optional>

namespace KxC {

/// Tiling scheme codes that the library treats specially.
enum TileScheme : int {
    kSchemeGoogleMercator = 3, ///< Web Mercator; requests carry a fixed user agent
    kSchemeBaidu = 4,          ///< Baidu grid, negative numbers written with an M
    kSchemeTianDiTuLatLon = 5, ///< geographic, three-quarter rows
    kSchemeBingMap = 6,        ///< Web Mercator by quadkey
    kSchemeEarthHistory = 8,   ///< history imagery
    kSchemeLatLonWgs84 = 9,
    kSchemeWebMercatorWgs84 = 10,
    kSchemeShiftedMercator = 11,  ///< Web Mercator where tiles of a shifted datum are joined
    kSchemeBaiduPlain = 13,       ///< Baidu grid, negative numbers as they are
    kSchemeThreeQuarterRows = 14, ///< three-quarter rows, like 5
};

/// The keyword's code, else the text's leading decimal integer (0 without one, held to 32 bits).
int SchemeFromText(const KxString& text);

/// 1 for "GCJ02", 2 for "BD09", else 0.
int DatumFromText(const KxString& text);

/// Code of "Z,X,Y" (0) to "Y,Z,X" (5); nothing for any other text, blanks included.
std::optional<int> AxisOrderFromText(const KxString& text);

/// Whether rows count from the south: "SouthToNorth" or "1".
bool IsSouthToNorth(const KxString& text);

/// Appends the entries of a list separated by blanks or commas.
void SplitServerParts(const KxString& text, KxArray<KxString>& parts);

/// Turns the server placeholder into "%s": every "{$serverpart}", or, when there is none, every
/// "{$Serverpart}".
/// @return whether there was one
bool ReplaceServerPart(KxString& urlTemplate);

/// The text that tells a source from others: its URL template, and for history imagery "_" and
/// the date without zero padding ("..._2019_3_7").
KxString
SourceKey(const KxString& urlTemplate, unsigned char historyDataUsed, const KxTime& historyTime);

} // namespace KxC
