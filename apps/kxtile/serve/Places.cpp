// SPDX-License-Identifier: MIT
#include "serve/Places.h"

#include "Command.h"
#include "GeoPoint.h"
#include "serve/TileRequest.h"

#include <charconv>
#include <numbers>

namespace KxTileHost::Serve {

namespace {

constexpr double kRadians = std::numbers::pi / 180.0;

} // namespace

std::optional<Place> ReadPlace(const std::string& text)
{
    try {
        const GeoPoint point = ParseGeoPoint(text);
        return Place{point.m_lon, point.m_lat};
    } catch (const CommandError&) {
        return std::nullopt;
    }
}

std::optional<int> ReadLevel(const std::string& text)
{
    int level = -1;
    const char* const end = text.data() + text.size();
    const auto read = std::from_chars(text.data(), end, level);
    const bool good = read.ec == std::errc() && read.ptr == end;
    return good && level >= 0 && level <= kMaxLevel ? std::optional(level) : std::nullopt;
}

Place OnDatum(const Place& place, KxC::KxDatum datum)
{
    Place shifted;
    KxC::KxMath::GetDeviationCoord(datum,
                                   place.m_longitude * kRadians,
                                   place.m_latitude * kRadians,
                                   shifted.m_longitude,
                                   shifted.m_latitude);
    return {shifted.m_longitude / kRadians, shifted.m_latitude / kRadians};
}

} // namespace KxTileHost::Serve
