// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace KxC {

/// Which program's spelling an address is written in. {x} and its kin are understood in all.
enum class UrlDialect {
    Toml,     ///< {$x}; an address without names may carry "%d"
    Web,      ///< {x}, as in TileJSON and in lists of web map clients
    Gdal,     ///< ${x}
    MapProxy, ///< %(x)s
};

enum class UrlTokenKind {
    Text,
    Column,
    Row,          ///< as the service counts
    RowFromSouth, ///< from the south, whatever else is said of rows
    Level,
    Quadkey,
    Server,
    TileCachePath, ///< 03/000/000/007/000/000/004, level, column and row
    ArcGisPath,    ///< L03/R00000004/C00000007
};

/// A piece of an address: a text, or one placeholder.
struct UrlToken
{
    UrlTokenKind kind = UrlTokenKind::Text;
    std::string text;                 ///< as it is written
    int levelOffset = 0;              ///< of a level: what is added to it
    std::vector<std::string> servers; ///< of a server: its own choices; none: the definition's
};

struct UrlTokens
{
    std::vector<UrlToken> tokens; ///< never two texts in a row
    bool foreign = false;         ///< some are spelled otherwise than {$x}
    std::vector<std::string> errors;
    std::vector<std::string> misleading; ///< warnings of what gives no right tiles
    std::vector<std::string> warnings;
};

/// Takes an address apart. Messages quote placeholders and nothing else of it.
UrlTokens ReadUrlTokens(std::string_view url, UrlDialect dialect);

} // namespace KxC
