// SPDX-License-Identifier: MIT
#pragma once

#include "UrlTokens.h"

#include <string>
#include <string_view>
#include <vector>

namespace KxC {

/// What the rest of a definition says that an address depends on.
struct UrlContext
{
    UrlDialect dialect = UrlDialect::Toml;
    std::string servers; ///< entries for {s} and {$serverpart}, between blanks or commas
    int levelOffset = 0;
    bool rowsFromSouth = false; ///< {y} counts from the south
    /// The grid of half as many rows as columns, whose rows the library counts from the north
    /// whatever else is said.
    bool halfRows = false;
    bool baidu = false;    ///< negative numbers are written with M, which no made script does
    bool scripted = false; ///< a script answers; the address only names the source
};

/// A definition's URL turned into the printf-like form that tile sources carry, or into a script
/// where that form cannot express it.
struct UrlTemplate
{
    std::string text;
    std::string script;    ///< empty when `text` says it all; then `text` only names the source
    std::string servers;   ///< those that the placeholders name themselves, between blanks
    std::string axisOrder; ///< such as "Z,X,Y"; empty when no placeholder names a tile number
    int levelOffset = 0;   ///< what {z+1} adds
    bool hasPlaceholders = false; ///< a tile's number or quadkey stands in it
    bool hasServerPart = false;   ///< the definition's servers are asked for
    bool hasQuadkey = false;
    bool hasRowFromSouth = false; ///< {-y}
    bool foreign = false;         ///< placeholders of other programs stand in it
    std::vector<std::string> errors;
    std::vector<std::string> misleading; ///< warnings of what gives no right tiles
    std::vector<std::string> warnings;
};

/// Turns columns, rows and levels into "%d" and quadkeys into "%s"; {$serverpart} stays, its turn
/// comes when the source is made. In a URL with such placeholders the percent signs that would
/// read as conversions are doubled, so that they come out as they were written.
UrlTemplate ParseUrlTemplate(std::string_view url, const UrlContext& context);

} // namespace KxC
