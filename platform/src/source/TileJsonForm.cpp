// SPDX-License-Identifier: MIT
#include "ForeignParts.h"
#include "Forms.h"
#include "GridForms.h"
#include "JsonDocument.h"
#include "TextRules.h"
#include "UrlServers.h"

#include <algorithm>
#include <cmath>

namespace KxC {

namespace {

constexpr int kLastLevel = 30;
constexpr std::size_t kMaxAddresses = 64;

bool IsWhole(double number)
{
    return std::abs(number) < 1e9 && std::trunc(number) == number;
}

class TileJsonReader
{
public:
    TileJsonReader(const JsonDocument& document, Report& report)
        : m_document(document), m_target{report}
    {
    }

    Definition Read()
    {
        CheckVersion();
        CheckGrid();
        ReadDescription();
        ReadLevels();
        ReadBounds();
        ReadTileSize();
        ReadUrl();
        return std::move(m_target.definition);
    }

private:
    Place PlaceOf(const std::string& key) const { return {m_document.LineOf(key), key}; }
    const nlohmann::json* Find(const std::string& key) const { return m_document.Find(key); }

    void CheckVersion()
    {
        const std::optional<std::string> version = Text("tilejson");
        if (!version)
            m_target.Warn(PlaceOf("tilejson"), "is missing; TileJSON says its version, \"3.0.0\"");
        else if (!IsOneOf(version->substr(0, 2), "2. 3."))
            m_target.Warn(PlaceOf("tilejson"),
                          "is none of the versions that are known here, 2 and 3; it is read as 3");
    }

    /// The standard knows Web Mercator alone; some services add a key that says otherwise.
    void CheckGrid()
    {
        const bool crs = SystemOfName(Text("crs").value_or("EPSG:3857")) == GridSystem::Mercator;
        const bool profile = Lower(Text("profile").value_or("mercator")) == "mercator";
        if (!crs || !profile)
            m_target.Error(PlaceOf(crs ? "profile" : "crs"),
                           "is another grid than TileJSON's, Web Mercator (EPSG:3857); write a "
                           "definition of your own that says its scheme");
    }

    std::optional<std::string> Text(const std::string& key)
    {
        const nlohmann::json* value = Find(key);
        if (value == nullptr || value->is_null())
            return std::nullopt;
        if (value->is_string())
            return value->get<std::string>();
        if (value->is_number()) {
            m_target.Warn(PlaceOf(key), "is a number and read as text; write it in quotes");
            return value->dump();
        }
        m_target.Error(PlaceOf(key), "is no text; write it in quotes");
        return std::nullopt;
    }

    void ReadDescription()
    {
        Definition& d = m_target.definition;
        TakeForeignText("name", Text("name").value_or(""), PlaceOf("name"), d.attr1, m_target);
        TakeForeignText("attribution",
                        Text("attribution").value_or(""),
                        PlaceOf("attribution"),
                        d.attr2,
                        m_target);
        TakeForeignText(
            "notes", Text("description").value_or(""), PlaceOf("description"), d.attr4, m_target);
        TakeForeignText(
            "version", Text("version").value_or(""), PlaceOf("version"), d.version, m_target);
        TakeForeignText(
            "format", Text("format").value_or(""), PlaceOf("format"), d.format, m_target);
    }

    void ReadLevels()
    {
        m_target.definition.minLevel = Integer("minzoom", {0, kLastLevel}, "bounds.min_level");
        m_target.definition.maxLevel = Integer("maxzoom", {0, kLastLevel}, "bounds.max_level");
    }

    std::optional<int>
    Integer(const std::string& key, std::pair<int, int> range, const std::string& ours)
    {
        const nlohmann::json* value = Find(key);
        if (value == nullptr || value->is_null())
            return std::nullopt;
        m_target.definition.places[ours] = PlaceOf(key);
        // Some programs write every number with a point.
        if (value->is_number_float() && IsWhole(value->get<double>()))
            return ForeignInteger(
                std::to_string(std::llround(value->get<double>())), range, PlaceOf(key), m_target);
        if (!value->is_number_integer()) {
            m_target.Error(PlaceOf(key), "is no integer; write one without quotes");
            return std::nullopt;
        }
        return ForeignInteger(value->dump(), range, PlaceOf(key), m_target);
    }

    void ReadBounds()
    {
        const nlohmann::json* bounds = Find("bounds");
        if (bounds == nullptr || bounds->is_null())
            return;
        const bool good = bounds->is_array() && bounds->size() == 4 &&
                          std::all_of(bounds->begin(), bounds->end(), [](const auto& number) {
                              return number.is_number();
                          });
        if (!good) {
            m_target.Error(PlaceOf("bounds"),
                           "is no list of four numbers; write [west, south, east, north]");
            return;
        }
        Definition& d = m_target.definition;
        d.west = (*bounds)[0].get<double>();
        d.south = (*bounds)[1].get<double>();
        d.east = (*bounds)[2].get<double>();
        d.north = (*bounds)[3].get<double>();
        for (const char* key : {"bounds.west", "bounds.south", "bounds.east", "bounds.north"})
            d.places[key] = PlaceOf("bounds");
    }

    /// Not of the standard, but what web maps write where tiles are not of 256 pixels.
    void ReadTileSize()
    {
        const std::string key = Find("tileSize") != nullptr ? "tileSize" : "tilesize";
        m_target.definition.tileSize = Integer(key, {1, 8192}, "tile_size");
    }

    void ReadUrl()
    {
        const std::vector<std::string> addresses = Addresses();
        if (addresses.empty())
            return;
        UrlContext context;
        context.dialect = UrlDialect::Web;
        context.rowsFromSouth = CountsFromSouth();
        const ServerPattern pattern = FindServers(addresses);
        if (addresses.size() > 1 && pattern.servers.empty())
            m_target.Warn(PlaceOf("tiles"),
                          "holds addresses that differ in more than their server; the first is "
                          "used");
        context.servers = pattern.servers;
        if (pattern.servers.empty() && pattern.url.find("{s}") != std::string::npos)
            TakeUsualServers(context);
        CheckVectorLayers();
        TakeForeignUrl(pattern.url, PlaceOf("tiles"), context, m_target);
    }

    /// Web maps that read TileJSON take {s} for these where nothing else is said.
    void TakeUsualServers(UrlContext& context)
    {
        context.servers = "a b c";
        m_target.Warn(PlaceOf("tiles"),
                      "holds {s} without servers, so a, b and c are taken, as web maps do; write "
                      "{switch:a,b,c} with the names in its place where they differ");
    }

    bool CountsFromSouth()
    {
        const std::string scheme = Text("scheme").value_or("xyz");
        if (scheme != "xyz" && scheme != "tms")
            m_target.Error(PlaceOf("scheme"), "is no scheme of TileJSON; it may be xyz or tms");
        return scheme == "tms";
    }

    void CheckVectorLayers()
    {
        const nlohmann::json* layers = Find("vector_layers");
        const std::string format = Lower(m_target.definition.format.value_or(""));
        if (format == "pbf" || format == "mvt")
            m_target.Error(PlaceOf("format"), kVectorTiles);
        else if (layers != nullptr && layers->is_array() && !layers->empty())
            m_target.Warn(PlaceOf("vector_layers"),
                          "says that the tiles are drawings, not pictures; only pictures are "
                          "shown");
    }

    std::vector<std::string> Addresses()
    {
        std::vector<std::string> addresses;
        const nlohmann::json* tiles = Find("tiles");
        const bool good = tiles != nullptr && tiles->is_array() && !tiles->empty() &&
                          tiles->size() <= kMaxAddresses &&
                          std::all_of(tiles->begin(), tiles->end(), [](const auto& tile) {
                              return tile.is_string();
                          });
        if (!good)
            m_target.Error(PlaceOf("tiles"),
                           "has to be a list of addresses, at least one and at most 64, such as "
                           "[\"https://tiles.example.org/{z}/{x}/{y}.png\"]");
        else
            for (const nlohmann::json& tile : *tiles)
                addresses.push_back(tile.get<std::string>());
        return addresses;
    }

    const JsonDocument& m_document;
    ForeignDefinition m_target;
};

} // namespace

Definition ReadTileJsonForm(const DefinitionText& source, Report& report)
{
    JsonDocument document(source.text);
    if (!document.Parse(report))
        return {};
    if (!source.wanted.empty())
        report.Error(0, "", "holds one source; leave the # and the name behind the path out");
    if (document.Find("tilejson") == nullptr && document.Find("tiles") == nullptr) {
        report.Error(
            1, "", "is JSON but no TileJSON; that has the keys \"tilejson\" and \"tiles\"");
        return {};
    }
    return TileJsonReader(document, report).Read();
}

} // namespace KxC
