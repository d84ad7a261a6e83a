// SPDX-License-Identifier: MIT
#include "GeoPoint.h"

#include "Command.h"
#include "Crs.h"
#include "KxMath.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <charconv>
#include <cmath>
#include <numbers>

namespace KxTileHost {

namespace {

constexpr double kRadiansPerDegree = std::numbers::pi / 180.0;
constexpr int kMaxLevel = 30;

/// Reads a number at `at` and moves behind it.
bool ReadNumber(const char*& at, const char* end, double& number)
{
    const auto read = std::from_chars(at, end, number, std::chars_format::fixed);
    at = read.ptr;
    return read.ec == std::errc() && std::isfinite(number);
}

bool ReadPair(const std::string& text, double& first, double& second)
{
    const char* at = text.data();
    const char* const end = at + text.size();
    if (!ReadNumber(at, end, first) || at == end || *at++ != ',')
        return false;
    while (at != end && *at == ' ')
        ++at;
    return ReadNumber(at, end, second) && at == end;
}

} // namespace

KxC::KxPoint2d GeoPoint::ToWebMercator() const
{
    return KxC::KxMath::LatLon2WebMecator(m_lon * kRadiansPerDegree, m_lat * kRadiansPerDegree);
}

GeoPoint ParseGeoPoint(const std::string& text)
{
    GeoPoint point;
    if (!ReadPair(text, point.m_lon, point.m_lat))
        throw CommandError(kExitWrongUsage,
                           fmt::format("'{}' is no place", text),
                           "Write LONGITUDE,LATITUDE in degrees, for instance 116.3975,39.9087.");
    if (std::abs(point.m_lon) > 180.0 || std::abs(point.m_lat) > 90.0)
        throw CommandError(kExitWrongUsage,
                           fmt::format("'{}' lies outside longitude -180 to 180 and latitude -90 "
                                       "to 90",
                                       text),
                           "The longitude stands first.");
    return point;
}

KxC::KxPoint2d ParsePair(const std::string& text)
{
    KxC::KxPoint2d pair;
    if (!ReadPair(text, pair.x, pair.y))
        throw CommandError(kExitWrongUsage,
                           fmt::format("'{}' is no place", text),
                           "Write X,Y, for instance 448500,4418000.");
    return pair;
}

GeoPoint ParsePlaceIn(const std::string& crs, const std::string& text)
{
    const KxC::KxPoint2d pair = ParsePair(text);
    const auto place = Crs(crs).ToDegrees(pair.x, pair.y);
    if (!place)
        throw CommandError(kExitFailed, fmt::format("'{}' is no place of '{}'", text, crs));
    return {place->x, place->y};
}

void AddLevelOption(CLI::App& command, int& level)
{
    command.add_option("--level", level, "Level of the tiles")
        ->required()
        ->check(CLI::Range(0, kMaxLevel));
}

} // namespace KxTileHost
