// SPDX-License-Identifier: MIT
#include "GeoPoint.h"

#include "Command.h"
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

bool ReadPoint(const std::string& text, GeoPoint& point)
{
    const char* at = text.data();
    const char* const end = at + text.size();
    if (!ReadNumber(at, end, point.m_lon) || at == end || *at++ != ',')
        return false;
    while (at != end && *at == ' ')
        ++at;
    return ReadNumber(at, end, point.m_lat) && at == end;
}

} // namespace

KxC::KxPoint2d GeoPoint::ToWebMercator() const
{
    return KxC::KxMath::LatLon2WebMecator(m_lon * kRadiansPerDegree, m_lat * kRadiansPerDegree);
}

GeoPoint ParseGeoPoint(const std::string& text)
{
    GeoPoint point;
    if (!ReadPoint(text, point))
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

void AddLevelOption(CLI::App& command, int& level)
{
    command.add_option("--level", level, "Level of the tiles")
        ->required()
        ->check(CLI::Range(0, kMaxLevel));
}

} // namespace KxTileHost
