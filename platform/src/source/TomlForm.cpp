// SPDX-License-Identifier: MIT
#include "DefinitionKeys.h"
#include "DefinitionValues.h"
#include "DefinitionWords.h"
#include "Forms.h"
#include "TextRules.h"
#include "TomlSkimmer.h"
#include "TomlUrl.h"

namespace KxC {

namespace {

class TomlReader
{
public:
    TomlReader(const toml::table& table, const std::string& folder, Report& report)
        : m_table(table), m_values(table, "", report), m_report(report), m_folder(folder)
    {
    }

    Definition Read()
    {
        WarnOfUnknownKeys();
        NotePlaces();
        ReadPlainValues();
        ReadDescription();
        ReadBounds();
        ReadRequestValues();
        ReadTomlUrl(m_values, m_folder, m_definition);
        return std::move(m_definition);
    }

private:
    void WarnOfUnknownKeys()
    {
        for (const auto& [key, value] : m_table) {
            // Looking for the nearest word is work that a hostile file could ask for often.
            if (m_report.HasRoom() && !IsDefinitionKey(key.str()))
                WarnOfUnknownKey("", key.str(), value, NearestDefinitionKey(key.str()));
        }
    }

    void WarnOfUnknownKey(const std::string& prefix,
                          std::string_view name,
                          const toml::node& node,
                          std::string_view nearest)
    {
        const std::string hint = nearest.empty()
                                     ? "it is passed over"
                                     : "did you mean '" + prefix + std::string(nearest) + "'?";
        m_report.Warn(static_cast<int>(node.source().begin.line),
                      prefix + std::string(name),
                      "is not a key of a definition; " + hint);
    }

    void NotePlaces()
    {
        for (const auto& [key, value] : m_table)
            NotePlace(std::string(key.str()), value);
        if (const toml::table* bounds = m_table["bounds"].as_table())
            for (const auto& [key, value] : *bounds)
                NotePlace("bounds." + std::string(key.str()), value);
    }

    void NotePlace(const std::string& key, const toml::node& node)
    {
        m_definition.places[key] = {static_cast<int>(node.source().begin.line), key};
    }

    void ReadPlainValues()
    {
        Definition& d = m_definition;
        d.scheme = m_values.TextOrInteger("scheme");
        d.datum = m_values.Text("datum");
        d.rows = m_values.TextOrInteger("rows");
        d.axisOrder = m_values.Text("axis_order");
        d.format = m_values.Text("format");
        d.version = m_values.IsInteger("version") ? m_values.TextOrInteger("version")
                                                  : m_values.TextOfEnvironment("version");
        d.tileSize = m_values.Integer("tile_size");
        d.levelOffset = m_values.Integer("level_offset");
        d.value1 = m_values.Integer("value1");
        d.value2 = m_values.Integer("value2");
        d.value3 = m_values.Integer("value3");
        d.option1 = m_values.Flag("option1");
        d.option2 = m_values.Flag("option2");
        d.option3 = m_values.Flag("option3");
        d.attr1 = m_values.Text("attr1");
        d.attr2 = m_values.Text("attr2");
        d.attr3 = m_values.Text("attr3");
        d.attr4 = m_values.Text("attr4");
        d.attr5 = m_values.Text("attr5");
    }

    /// The keys that say what a source is; they have numbered names besides.
    void ReadDescription()
    {
        Describe("name", "attr1", m_values.Text("name"), m_definition.attr1);
        Describe("attribution", "attr2", m_values.Text("attribution"), m_definition.attr2);
        Describe("terms", "attr3", m_values.Text("terms"), m_definition.attr3);
        Describe("notes", "attr4", m_values.Text("notes"), m_definition.attr4);
        Describe("enabled", "option3", m_values.Flag("enabled"), m_definition.option3);
    }

    template <class Value>
    void Describe(const std::string& key,
                  const std::string& numbered,
                  const std::optional<Value>& value,
                  std::optional<Value>& target)
    {
        if (!value)
            return;
        if (m_values.Has(numbered))
            m_values.Error(numbered, "says the same as " + key + "; keep one of them");
        target = value;
        m_definition.places[numbered] = m_definition.places[key];
    }

    void ReadBounds()
    {
        const toml::table* table = m_values.Table("bounds");
        if (table == nullptr)
            return;
        for (const auto& [key, value] : *table) {
            if (m_report.HasRoom() && !IsBoundsKey(key.str()))
                WarnOfUnknownKey("bounds.", key.str(), value, NearestBoundsKey(key.str()));
        }
        DefinitionValues bounds(*table, "bounds.", m_report);
        m_definition.west = bounds.Number("west");
        m_definition.east = bounds.Number("east");
        m_definition.south = bounds.Number("south");
        m_definition.north = bounds.Number("north");
        m_definition.minLevel = bounds.Integer("min_level");
        m_definition.maxLevel = bounds.Integer("max_level");
    }

    void ReadRequestValues()
    {
        m_definition.userAgent = m_values.TextOfEnvironment("user_agent");
        m_definition.servers = m_values.Words("servers");
        m_definition.headers = m_values.HeaderLines("headers");
    }

    const toml::table& m_table;
    DefinitionValues m_values;
    Report& m_report;
    const std::string& m_folder;
    Definition m_definition;
};

} // namespace

Definition ReadTomlForm(const DefinitionText& source, Report& report)
{
    const int deepLine = FindTooDeepKey(source.text);
    if (deepLine > 0) {
        report.Error(deepLine, "", "holds a key with more than 8 dots; definitions need one");
        return {};
    }
    if (!source.wanted.empty())
        report.Error(0, "", "holds one source; leave the # and the name behind the path out");
    try {
        return TomlReader(toml::parse(source.text), source.folder, report).Read();
    } catch (const toml::parse_error& error) {
        report.Error(static_cast<int>(error.source().begin.line),
                     "",
                     "is not TOML: " + std::string(error.description()));
        return {};
    }
}

} // namespace KxC
