// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace KxC {

/// A definition's URL turned into the printf-like form that tile sources carry.
struct UrlTemplate
{
    std::string text;
    std::string axisOrder; ///< such as "Z,X,Y"; empty when no placeholder names a tile number
    bool hasPlaceholders = false; ///< {$x}, {$y}, {$z} or {$quadkey} stand in it
    bool hasServerPart = false;
    bool hasQuadkey = false;
    std::vector<std::string> errors;
    std::vector<std::string> warnings;
};

/// Turns {$x}, {$y} and {$z} into "%d" and {$quadkey} into "%s"; {$serverpart} stays, its turn
/// comes when the source is made. In a URL with such placeholders the percent signs that would
/// read as conversions are doubled, so that they come out as they were written.
UrlTemplate ParseUrlTemplate(std::string_view url);

} // namespace KxC
