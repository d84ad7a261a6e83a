// SPDX-License-Identifier: MIT
#include "MapProxyGrid.h"

#include "GridForms.h"
#include "TextRules.h"
#include "YamlDocument.h"

#include <array>
#include <string>

namespace KxC {

namespace {

/// A grid of the whole world as MapProxy means it.
struct Grid
{
    GridSystem system = GridSystem::Mercator;
    bool fromSouth = true; ///< MapProxy's grids begin in the south-west unless they say otherwise
};

struct BuiltInGrid
{
    std::string_view name;
    Grid grid;
};

constexpr std::array<BuiltInGrid, 4> kBuiltIn = {
    {{"GLOBAL_MERCATOR", {GridSystem::Mercator, true}},
     {"GLOBAL_WEBMERCATOR", {GridSystem::Mercator, false}},
     {"GLOBAL_GEODETIC", {GridSystem::Geographic, true}},
     {"GLOBAL_GEODETIC_SQRT2", {GridSystem::None, true}}}};

const Grid* FindBuiltIn(std::string_view name)
{
    for (const BuiltInGrid& builtIn : kBuiltIn)
        if (builtIn.name == name)
            return &builtIn.grid;
    return nullptr;
}

class MapProxyGridReader
{
public:
    MapProxyGridReader(const YAML::Node& root, UrlContext& context, ForeignDefinition& target)
        : m_root(root), m_context(context), m_target(target)
    {
    }

    void Read(const YAML::Node& source)
    {
        const YAML::Node name = Child(source, "grid");
        m_place = {LineOf(name.IsNull() ? source : name), "grid"};
        const std::string text = name.IsNull() ? "GLOBAL_MERCATOR" : TextOf(name).value_or("");
        if (name.IsNull() && Child(source, "origin").IsNull())
            m_target.Warn(m_place,
                          "is missing, and MapProxy takes GLOBAL_MERCATOR then, whose rows count "
                          "from the south; say grid: GLOBAL_WEBMERCATOR for rows from the north");
        const YAML::Node own = Child(Child(m_root, "grids"), text);
        Grid grid;
        if (text.empty())
            Refuse("is no grid's name; a source of tiles has one grid");
        else if (own.IsMap())
            grid = ReadOwn(text, own);
        else if (const Grid* builtIn = FindBuiltIn(text))
            grid = *builtIn;
        else
            Refuse(Printable(text) + " is neither one of MapProxy's own grids nor one of grids");
        // Old configurations say it at the source.
        const YAML::Node origin = Child(source, "origin");
        if (!origin.IsNull()) {
            m_place = {LineOf(origin), "origin"};
            ReadOrigin(TextOf(origin).value_or(""), grid);
        }
        Take(grid);
    }

private:
    void Refuse(const std::string& why)
    {
        m_refused = true;
        m_target.Error(m_place,
                       why + "; known are GLOBAL_MERCATOR, GLOBAL_WEBMERCATOR, GLOBAL_GEODETIC "
                             "and grids of the whole world based on them");
    }

    Grid ReadOwn(const std::string& name, const YAML::Node& own)
    {
        Grid grid;
        for (const auto& entry : own) {
            const std::string key = TextOf(entry.first).value_or("");
            m_place = {LineOf(entry.first), "grids." + name + "." + Printable(key)};
            if (key == "base")
                ReadBase(entry.second, grid);
        }
        for (const auto& entry : own)
            ReadEntry(name, TextOf(entry.first).value_or(""), entry.first, entry.second, grid);
        const YAML::Node bbox = Child(own, "bbox");
        if (!bbox.IsNull())
            CheckWorld(bbox, grid);
        return grid;
    }

    void ReadBase(const YAML::Node& base, Grid& grid)
    {
        if (const Grid* builtIn = FindBuiltIn(TextOf(base).value_or("")))
            grid = *builtIn;
        else
            Refuse("is none of MapProxy's own grids");
    }

    void ReadEntry(const std::string& gridName,
                   const std::string& key,
                   const YAML::Node& name,
                   const YAML::Node& value,
                   Grid& grid)
    {
        m_place = {LineOf(name), "grids." + gridName + "." + Printable(key)};
        const std::string text = TextOf(value).value_or("");
        if (key == "srs")
            ReadSystem(text, grid);
        else if (key == "origin")
            ReadOrigin(text, grid);
        else if (key == "tile_size")
            ReadTileSize(value);
        else if (key == "num_levels")
            ReadLevels(text);
        else if (!IsOneOf(key, "base name bbox bbox_srs") && (key != "res_factor" || text != "2"))
            Refuse("makes a grid that cannot be expressed");
    }

    void ReadSystem(const std::string& text, Grid& grid)
    {
        grid.system = SystemOfName(text);
        if (grid.system == GridSystem::None)
            Refuse("is none that tiles can be read in, EPSG:3857 or EPSG:4326");
    }

    void ReadOrigin(const std::string& text, Grid& grid)
    {
        if (IsOneOf(text, "nw ul"))
            grid.fromSouth = false;
        else if (IsOneOf(text, "sw ll"))
            grid.fromSouth = true;
        else
            m_target.Error(m_place, "is no origin; it may be nw (ul) or sw (ll)");
    }

    void ReadTileSize(const YAML::Node& value)
    {
        const bool pair = value.IsSequence() && value.size() == 2;
        const std::string width = pair ? TextOf(value[0]).value_or("") : "";
        if (!pair || width != TextOf(value[1]).value_or("")) {
            m_target.Error(m_place, "is no pair of equal numbers; write [256, 256]");
            return;
        }
        m_target.definition.tileSize = ForeignInteger(width, {1, 8192}, m_place, m_target);
        m_target.definition.places["tile_size"] = m_place;
    }

    void ReadLevels(const std::string& text)
    {
        m_levels = ForeignInteger(text, {1, 31}, m_place, m_target);
        m_target.definition.places["bounds.max_level"] = m_place;
    }

    void CheckWorld(const YAML::Node& bbox, const Grid& grid)
    {
        m_place.line = LineOf(bbox);
        std::array<double, 4> corners{};
        bool good = bbox.IsSequence() && bbox.size() == corners.size();
        for (std::size_t i = 0; good && i < corners.size(); ++i)
            corners[i] = ForeignNumber(TextOf(bbox[i]).value_or(""), m_place, m_target).value_or(0);
        if (!good || !IsWholeWorld(grid.system, corners[0], corners[1], corners[2], corners[3]))
            Refuse("is not the whole world of its srs");
    }

    void Take(const Grid& grid)
    {
        if (!m_refused && grid.system == GridSystem::None)
            Refuse("does not halve from level to level");
        if (m_refused)
            return;
        // MapProxy's geographic grid has one column on its first level.
        TakeGrid(grid.system, 1, grid.fromSouth, m_target.definition, m_context);
        if (m_levels)
            m_target.definition.maxLevel = LevelOfForm(*m_levels - 1, m_context);
    }

    const YAML::Node& m_root;
    UrlContext& m_context;
    ForeignDefinition& m_target;
    Place m_place;
    std::optional<int> m_levels;
    bool m_refused = false;
};

} // namespace

void ReadMapProxyGrid(const YAML::Node& root,
                      const YAML::Node& source,
                      UrlContext& context,
                      ForeignDefinition& target)
{
    MapProxyGridReader(root, context, target).Read(source);
}

} // namespace KxC
