// SPDX-License-Identifier: MIT
#include "serve/Route.h"

#include "serve/PathText.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <vector>

namespace KxTileHost::Serve {

namespace {

constexpr std::size_t kMostParts = 9;
constexpr std::string_view kDoubleSize = "@2x";
constexpr std::string_view kStyle = "default";
constexpr std::string_view kToLevel = "_Level";
constexpr std::string_view kTmsSuffix = "tilemapresource.xml";

using Parts = std::vector<std::string>;

struct FixedPath
{
    std::string_view m_path;
    Route::Kind m_kind;
};

constexpr std::array<FixedPath, 9> kFixedPaths{{
    {"health", Route::kHealth},
    {"metrics", Route::kMetrics},
    {"sources.json", Route::kSources},
    {"qgis.xml", Route::kQgis},
    {"locate.json", Route::kLocate},
    {"wmts", Route::kWmts},
    {"wmts/1.0.0/WMTSCapabilities.xml", Route::kWmts},
    {"tms", Route::kTmsService},
    {"tms/1.0.0", Route::kTmsService},
}};

constexpr std::array<std::string_view, 10> kReserved{
    "health", "metrics", "sources", "qgis", "locate", "wmts", "tms", "page", "favicon", "robots"};

Route Malformed(std::string fault)
{
    Route route;
    route.m_kind = Route::kMalformed;
    route.m_fault = std::move(fault);
    return route;
}

/// The parts between slashes, decoded. One slash at the end does not count.
/// @return false when a part cannot be decoded, or there are too many
bool Split(std::string_view path, Parts& parts)
{
    while (!path.empty() && parts.size() <= kMostParts) {
        const std::size_t slash = std::min(path.find('/'), path.size());
        parts.emplace_back();
        if (!DecodePercent(path.substr(0, slash), parts.back(), SlashRule::Refuse))
            return false;
        path.remove_prefix(std::min(slash + 1, path.size()));
    }
    return parts.size() <= kMostParts;
}

bool ReadNumber(std::string_view text, int& number)
{
    const char* const end = text.data() + text.size();
    const auto read = std::from_chars(text.data(), end, number);
    return read.ec == std::errc() && read.ptr == end;
}

/// Reads level, column and row; what is wrong is noted in the route.
void ReadNumbers(Route& route,
                 std::string_view level,
                 std::string_view column,
                 std::string_view row)
{
    struct Number
    {
        std::string_view m_text;
        int& m_value;
        const char* m_what;
    };
    for (const Number& number : {Number{level, route.m_tile.m_z, "level"},
                                 Number{column, route.m_tile.m_x, "column"},
                                 Number{row, route.m_tile.m_y, "row"}})
        if (!ReadNumber(number.m_text, number.m_value) && route.m_fault.empty())
            route.m_fault =
                fmt::format("'{}' is no {}: write whole numbers", number.m_text, number.m_what);
}

/// Reads the last part of a tile's address: number, "@2x", extension.
std::string_view ReadLastPart(Route& route, std::string_view text)
{
    if (!ReadExtension(text, route.m_tile.m_format))
        route.m_fault = fmt::format("'{}' ends in none of .png, .jpg and .webp", text);
    if (text.size() > kDoubleSize.size() && text.ends_with(kDoubleSize)) {
        text.remove_suffix(kDoubleSize.size());
        route.m_tile.m_size = 2 * kTileSize;
    }
    return text;
}

Route TileRoute(Route::Kind kind,
                const std::string& source,
                std::string_view level,
                std::string_view column,
                std::string_view row)
{
    Route route;
    route.m_kind = kind;
    route.m_source = source;
    ReadNumbers(route, level, column, ReadLastPart(route, row));
    return route;
}

Route NamedRoute(Route::Kind kind, const std::string& source)
{
    Route route;
    route.m_kind = kind;
    route.m_source = source;
    return route;
}

bool IsMatrixSet(std::string_view name)
{
    if (!name.starts_with(kMatrixSet))
        return false;
    name.remove_prefix(kMatrixSet.size());
    if (name.empty())
        return true;
    int level = -1;
    return name.starts_with(kToLevel) && ReadNumber(name.substr(kToLevel.size()), level) &&
           level >= 0 && level <= kMaxLevel;
}

Route OtherStyleOrSet(const std::string& style, const std::string& matrixSet)
{
    return Malformed(fmt::format("there is the style {} and the tile matrix set {}, not '{}' and "
                                 "'{}'",
                                 kStyle,
                                 kMatrixSet,
                                 style,
                                 matrixSet));
}

/// {id}/{style}/{matrix set}/{z}/{row}/{column}.{extension}: the row stands before the column.
Route ParseWmts(const Parts& parts)
{
    if (parts.size() != 7)
        return {};
    if (parts[2] != kStyle || !IsMatrixSet(parts[3]))
        return OtherStyleOrSet(parts[2], parts[3]);
    Route route;
    route.m_kind = Route::kTile;
    route.m_source = parts[1];
    const std::string_view column = ReadLastPart(route, parts[6]);
    ReadNumbers(route, parts[4], column, parts[5]);
    return route;
}

/// 1.0.0/{id}, and 1.0.0/{id}/{z}/{x}/{row from the south}.{extension}.
Route ParseTms(const Parts& parts)
{
    if (parts[1] != "1.0.0")
        return Malformed("the version of the tile map service is 1.0.0");
    if (parts.size() == 3 || (parts.size() == 4 && parts[3] == kTmsSuffix))
        return NamedRoute(Route::kTmsMap, parts[2]);
    if (parts.size() != 6)
        return {};
    Route route = TileRoute(Route::kTile, parts[2], parts[3], parts[4], parts[5]);
    route.m_southRows = true;
    return route;
}

Route ParseSinglePart(const std::string& part)
{
    const std::string_view text = part;
    if (text.ends_with(".json"))
        return NamedRoute(Route::kTileJson, part.substr(0, part.size() - 5));
    if (text.ends_with(".xml"))
        return NamedRoute(Route::kGdalXml, part.substr(0, part.size() - 4));
    Route route;
    if (text == "favicon.ico" || text == "robots.txt") {
        route.m_kind = Route::kAsset;
        route.m_name = part;
    }
    return route;
}

Route ParseAsset(std::string_view name)
{
    Route route;
    route.m_kind = Route::kAsset;
    if (!DecodePercent(name, route.m_name, SlashRule::Refuse))
        return Malformed("the path holds a broken percent sequence");
    if (route.m_name.empty())
        route.m_name = "index.html";
    return route;
}

Route ParseParts(const Parts& parts)
{
    if (parts[0] == "wmts")
        return ParseWmts(parts);
    if (parts[0] == "tms" && parts.size() > 1)
        return ParseTms(parts);
    if (parts.size() == 1)
        return ParseSinglePart(parts[0]);
    if (parts.size() == 2 && parts[1] == "dates.json")
        return NamedRoute(Route::kDates, parts[0]);
    if (parts.size() == 4)
        return TileRoute(Route::kTile, parts[0], parts[1], parts[2], parts[3]);
    if (parts.size() == 5 && parts[1] == "raw")
        return TileRoute(Route::kRawTile, parts[0], parts[2], parts[3], parts[4]);
    return {};
}

} // namespace

std::string MatrixSetTo(int lastLevel)
{
    return fmt::format("{}{}{}", kMatrixSet, kToLevel, lastLevel);
}

/// Style, matrix set and format may be left out, for there is one to take.
Route WmtsTileRoute(const WmtsParameters& parameters)
{
    const bool isOtherStyle = !parameters.m_style.empty() && parameters.m_style != kStyle;
    const bool isOtherSet = !parameters.m_matrixSet.empty() && !IsMatrixSet(parameters.m_matrixSet);
    if (isOtherStyle || isOtherSet)
        return OtherStyleOrSet(parameters.m_style, parameters.m_matrixSet);
    Route route;
    route.m_kind = Route::kTile;
    route.m_source = parameters.m_layer;
    route.m_tile.m_format = TileFormat::Png;
    bool isKnown = parameters.m_format.empty();
    for (const TileFormat format : {TileFormat::Png, TileFormat::Jpeg, TileFormat::WebP})
        if (parameters.m_format == MimeOf(format)) {
            route.m_tile.m_format = format;
            isKnown = true;
        }
    if (!isKnown)
        return Malformed(fmt::format("FORMAT is image/png, image/jpeg or image/webp, not '{}'",
                                     parameters.m_format));
    ReadNumbers(route, parameters.m_matrix, parameters.m_column, parameters.m_row);
    return route;
}

bool IsReservedName(std::string_view name)
{
    return std::find(kReserved.begin(), kReserved.end(), name) != kReserved.end();
}

Route ParsePath(std::string_view path)
{
    if (path.empty() || path.front() != '/')
        return Malformed("the path does not begin with a slash");
    path.remove_prefix(1);
    if (path.empty())
        return ParseAsset("index.html");
    if (path.starts_with("page/"))
        return ParseAsset(path.substr(5));
    std::string_view plain = path;
    if (plain.ends_with('/'))
        plain.remove_suffix(1);
    for (const FixedPath& fixed : kFixedPaths)
        if (plain == fixed.m_path) {
            Route route;
            route.m_kind = fixed.m_kind;
            return route;
        }
    Parts parts;
    if (!Split(path, parts))
        return Malformed("the path has too many parts, or a percent sequence that is broken or "
                         "hides a slash");
    return ParseParts(parts);
}

} // namespace KxTileHost::Serve
