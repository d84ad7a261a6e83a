// SPDX-License-Identifier: MIT
#include "DefinitionAdvice.h"

#include "DefinitionKeys.h"
#include "DefinitionWords.h"
#include "HashKey.h"
#include "TextRules.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace KxC {

namespace {

constexpr int kLastLevel = 30;

/// Services whose pictures lie in a shifted datum, by the end of their host's name.
struct ShiftedService
{
    std::string_view host;
    std::string_view datum;
    std::string_view onlyWith; ///< what else the address has to hold
};

constexpr std::array<ShiftedService, 8> kShiftedServices = {{{"autonavi.com", "GCJ02", ""},
                                                             {"amap.com", "GCJ02", ""},
                                                             {"gtimg.com", "GCJ02", ""},
                                                             {"google.cn", "GCJ02", ""},
                                                             {"google.com", "GCJ02", "gl=cn"},
                                                             {"googleapis.cn", "GCJ02", ""},
                                                             {"bdimg.com", "BD09", ""},
                                                             {"baidu.com", "BD09", ""}}};

bool IsHostOf(std::string_view host, std::string_view domain)
{
    if (host.size() < domain.size() || host.substr(host.size() - domain.size()) != domain)
        return false;
    return host.size() == domain.size() || host[host.size() - domain.size() - 1] == '.';
}

class Adviser
{
public:
    Adviser(const Definition& definition, Report& report)
        : m_definition(definition), m_report(report), m_scheme(SchemeOf(definition))
    {
    }

    void Advise()
    {
        CheckScheme();
        CheckDatum();
        CheckRows();
        CheckTileSize();
        CheckAddress();
        CheckService();
        CheckLevelOffset();
        CheckBounds();
        CheckLevels();
    }

private:
    /// What is said of a key that is not there points to the address that asks for it.
    Place PlaceOf(std::string_view key) const
    {
        const auto& places = m_definition.places;
        const auto found = places.find(key);
        if (found != places.end())
            return found->second;
        const auto url = places.find("url");
        return {url == places.end() ? 0 : url->second.line, std::string(key)};
    }

    void Warn(std::string_view key, const std::string& text)
    {
        const Place place = PlaceOf(key);
        m_report.Warn(place.line, place.key, text);
    }

    /// Warns of what cannot give right tiles.
    void Mislead(std::string_view key, const std::string& text)
    {
        const Place place = PlaceOf(key);
        m_report.Mislead(place.line, place.key, text);
    }

    void CheckWord(std::string_view key,
                   bool good,
                   const std::string& verdict,
                   std::string_view nearest,
                   const std::string& choices)
    {
        if (good)
            return;
        const std::string hint = nearest.empty() ? "it may be " + choices
                                                 : "did you mean \"" + std::string(nearest) + "\"?";
        Mislead(key, verdict + "; " + hint);
    }

    void CheckScheme()
    {
        const std::string scheme = m_definition.scheme.value_or("0");
        CheckWord("scheme",
                  IsInteger(scheme) ||
                      IsOneOf(scheme, "tianditulatlon latlonwgs84 webmercatorwgs84 bingmap"),
                  "is no scheme and counts as 0",
                  Lower(scheme) == "webmercator" || Lower(scheme) == "mercator"
                      ? "WebMercatorWGS84"
                      : NearestWord(scheme, "TianDiTuLatLon LatLonWGS84 WebMercatorWGS84 BingMap"),
                  "a number, or TianDiTuLatLon, LatLonWGS84, WebMercatorWGS84 or BingMap");
        if (!m_definition.scheme && m_definition.foreignPlaceholders &&
            m_definition.namedPlaceholders)
            Warn("scheme",
                 "is missing, so the grid is latitude and longitude; addresses with {x}, {y} and "
                 "{z} are mostly for \"WebMercatorWGS84\"");
    }

    void CheckDatum()
    {
        CheckWord("datum",
                  IsOneOf(Datum(), "wgs84 gcj02 bd09"),
                  "is no datum and counts as WGS84",
                  NearestWord(Datum(), "WGS84 GCJ02 BD09"),
                  "WGS84, GCJ02 or BD09");
        const bool shifted = IsOneOf(Datum(), "gcj02 bd09");
        if (IsBaiduGrid(m_scheme) && Lower(Datum()) != "bd09")
            Mislead("datum", "does not go with Baidu's grid; its pictures lie in \"BD09\"");
        else if (shifted && !IsBaiduGrid(m_scheme) && !IsMercator())
            Warn("datum",
                 "has no effect in grids of latitude and longitude; shifted pictures come in "
                 "\"WebMercatorWGS84\" or in Baidu's grid, 4");
    }

    std::string Datum() const { return m_definition.datum.value_or("WGS84"); }

    bool IsMercator() const
    {
        return m_scheme == 3 || m_scheme == kSchemeBingMap || m_scheme == 10 || m_scheme == 11;
    }

    void CheckRows()
    {
        const std::string rows = m_definition.rows.value_or("0");
        CheckWord("rows",
                  IsOneOf(rows, "southtonorth northtosouth 0 1"),
                  "is no direction, so rows count from the north",
                  NearestWord(rows, "SouthToNorth NorthToSouth"),
                  "SouthToNorth or NorthToSouth");
        if (IsFromSouth(rows) && HasHalfRows(m_scheme))
            Warn("rows", "has no effect; this scheme counts rows from the north by itself");
        if (IsBaiduGrid(m_scheme) && !IsFromSouth(rows))
            Mislead("rows",
                    "does not go with Baidu's grid; it counts from the south, SouthToNorth");
    }

    void CheckTileSize()
    {
        const int tileSize = m_definition.tileSize.value_or(256);
        if (tileSize < 1 || tileSize > 8192)
            Mislead("tile_size", "has no tiles; sizes run from 1 to 8192 pixels");
    }

    bool IsScripted() const
    {
        return m_definition.script.has_value() || EndsInLua(m_definition.url.value_or(""));
    }

    void CheckAddress()
    {
        if (m_report.Failed())
            return;
        if (!m_definition.url && !IsScripted() && m_scheme != kSchemeEarthHistory)
            Mislead("url", "is missing, and so is script: this source has no tiles");
        if (!m_definition.url || IsScripted() || m_scheme == kSchemeEarthHistory)
            return;
        const std::string& url = *m_definition.url;
        const int numbers = Conversions(url);
        const int wanted = m_scheme == kSchemeBingMap ? 1 : 3;
        if (numbers == 0)
            Mislead("url",
                    "names no tile, so that all tiles have one address; the placeholders are {$x}, "
                    "{$y} and {$z}, or {$quadkey}");
        else if (numbers != wanted && !m_definition.namedPlaceholders)
            Mislead("url",
                    "holds " + std::to_string(numbers) + " conversions (%d, %s) where it takes " +
                        std::to_string(wanted) + "; write {$x}, {$y} and {$z}, or {$quadkey}");
    }

    /// How many arguments a template takes.
    static int Conversions(const std::string& url)
    {
        int count = 0;
        for (std::size_t at = url.find('%'); at < url.size() - 1; at = url.find('%', at)) {
            const char next = url[at + 1];
            count += next == 'd' || next == 's' ? 1 : 0;
            at += next == 'd' || next == 's' || next == '%' ? 2U : 1U;
        }
        return count;
    }

    void CheckService()
    {
        const std::string url = m_definition.url.value_or("");
        const std::string host = ReadableHost(url);
        for (const ShiftedService& service : kShiftedServices) {
            const bool meant =
                IsHostOf(host, service.host) && url.find(service.onlyWith) != std::string::npos;
            const bool shifted = IsOneOf(Datum(), "gcj02 bd09");
            if (meant && !shifted && !IsBaiduGrid(m_scheme))
                Mislead("datum",
                        "is WGS84, but pictures of " + std::string(service.host) +
                            " lie some hundred metres off; say datum = \"" +
                            std::string(service.datum) + "\"");
            if (meant && service.datum == "BD09" && !IsBaiduGrid(m_scheme))
                Mislead("scheme", "is not Baidu's, whose services have a grid of their own; say 4");
        }
    }

    void CheckLevelOffset()
    {
        if (m_definition.levelOffset.value_or(0) == 0)
            return;
        if (m_scheme == kSchemeBingMap)
            Warn("level_offset", "has no effect on quadkeys; leave it out");
        else if (std::abs(static_cast<long long>(*m_definition.levelOffset)) > kLastLevel)
            Warn("level_offset", "leads out of the levels; they run from 0 to 30");
    }

    void CheckBounds()
    {
        CheckDegrees("bounds.west", m_definition.west, 180.0);
        CheckDegrees("bounds.east", m_definition.east, 180.0);
        CheckDegrees("bounds.south", m_definition.south, 90.0);
        CheckDegrees("bounds.north", m_definition.north, 90.0);
        if (m_definition.south && m_definition.north && *m_definition.south >= *m_definition.north)
            Warn("bounds.south", "is not south of bounds.north; exchange them");
        if (m_definition.west && m_definition.east && *m_definition.west == *m_definition.east)
            Warn("bounds.west", "is the same as bounds.east; the world runs from -180 to 180");
    }

    void CheckDegrees(std::string_view key, const std::optional<double>& degrees, double limit)
    {
        if (degrees && (*degrees < -limit || *degrees > limit))
            Warn(key,
                 limit > 90.0 ? "is no longitude; those run from -180 to 180"
                              : "is no latitude; those run from -90 to 90");
    }

    void CheckLevels()
    {
        CheckLevel("bounds.min_level", m_definition.minLevel);
        CheckLevel("bounds.max_level", m_definition.maxLevel);
        if (m_definition.minLevel && m_definition.maxLevel &&
            *m_definition.minLevel > *m_definition.maxLevel)
            Warn("bounds.min_level", "is above bounds.max_level; exchange them");
    }

    void CheckLevel(std::string_view key, const std::optional<int>& level)
    {
        if (level && (*level < 0 || *level > kLastLevel))
            Warn(key, "is no level; they run from 0 to 30");
    }

    const Definition& m_definition;
    Report& m_report;
    int m_scheme;
};

} // namespace

void AdviseOn(const Definition& definition, Report& report)
{
    Adviser(definition, report).Advise();
}

} // namespace KxC
