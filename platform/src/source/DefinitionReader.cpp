// SPDX-License-Identifier: MIT
#include "DefinitionReader.h"

#include "DefinitionFile.h"
#include "DefinitionKeys.h"
#include "DefinitionValues.h"
#include "HashKey.h"
#include "KxFile.h"
#include "UrlTemplate.h"

#include <algorithm>
#include <cctype>

namespace KxC {

namespace {

std::string Lower(std::string_view text)
{
    std::string lower(text);
    for (char& byte : lower)
        byte = byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte - 'A' + 'a') : byte;
    return lower;
}

/// Whether `text` is one of `words`, which are in lower case and stand between blanks.
bool IsOneOf(std::string_view text, std::string_view words)
{
    return text.find(' ') == std::string_view::npos &&
           (" " + std::string(words) + " ").find(" " + Lower(text) + " ") != std::string::npos;
}

bool IsInteger(std::string_view text)
{
    const std::size_t sign = !text.empty() && (text[0] == '-' || text[0] == '+') ? 1 : 0;
    const std::string_view digits = text.substr(sign);
    return !digits.empty() && digits.size() <= 10 &&
           digits.find_first_not_of("0123456789") == std::string_view::npos;
}

bool EndsInLua(std::string_view text)
{
    return text.size() > 4 && Lower(text.substr(text.size() - 4)) == ".lua";
}

bool IsScriptFileName(std::string_view script)
{
    return EndsInLua(script) && script.find_first_of("\r\n") == std::string_view::npos;
}

class DefinitionReader
{
public:
    DefinitionReader(const toml::table& table, std::string folder, Report& report)
        : m_table(table), m_values(table, "", report), m_report(report), m_folder(std::move(folder))
    {
    }

    Definition Read()
    {
        WarnOfUnknownKeys();
        ReadPlainValues();
        ReadBounds();
        ReadRequestValues();
        ReadUrl();
        ReadScript();
        CheckWords();
        CheckWhole();
        return std::move(m_definition);
    }

private:
    void WarnOfUnknownKeys()
    {
        for (const auto& [key, value] : m_table) {
            const std::string_view name = key.str();
            if (!IsDefinitionKey(name))
                WarnOfUnknownKey("", name, NearestDefinitionKey(name));
        }
    }

    void
    WarnOfUnknownKey(const std::string& prefix, std::string_view name, std::string_view nearest)
    {
        const toml::node* node =
            prefix.empty() ? m_table.get(name) : m_table["bounds"].as_table()->get(name);
        const std::string hint = nearest.empty()
                                     ? "it is passed over"
                                     : "did you mean '" + prefix + std::string(nearest) + "'?";
        m_report.Warn(static_cast<int>(node->source().begin.line),
                      prefix + std::string(name),
                      "is not a key of a definition; " + hint);
    }

    void ReadPlainValues()
    {
        Definition& d = m_definition;
        d.scheme = m_values.TextOrInteger("scheme");
        d.datum = m_values.Text("datum");
        d.rows = m_values.TextOrInteger("rows");
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

    void ReadBounds()
    {
        const toml::table* table = m_values.Table("bounds");
        if (table == nullptr)
            return;
        for (const auto& [key, value] : *table) {
            if (!IsBoundsKey(key.str()))
                WarnOfUnknownKey("bounds.", key.str(), NearestBoundsKey(key.str()));
        }
        DefinitionValues bounds(*table, "bounds.", m_report);
        m_definition.west = Degrees(bounds, "west", 180.0);
        m_definition.east = Degrees(bounds, "east", 180.0);
        m_definition.south = Degrees(bounds, "south", 90.0);
        m_definition.north = Degrees(bounds, "north", 90.0);
        m_definition.minLevel = bounds.Integer("min_level");
        m_definition.maxLevel = bounds.Integer("max_level");
    }

    static std::optional<double>
    Degrees(DefinitionValues& bounds, std::string_view key, double limit)
    {
        const std::optional<double> degrees = bounds.Number(key);
        if (degrees && (*degrees < -limit || *degrees > limit))
            bounds.Warn(key,
                        limit > 90.0 ? "is no longitude; those run from -180 to 180"
                                     : "is no latitude; those run from -90 to 90");
        return degrees;
    }

    void ReadRequestValues()
    {
        m_definition.userAgent = m_values.TextOfEnvironment("user_agent");
        m_definition.servers = m_values.Words("servers");
        m_definition.headers = m_values.HeaderLines("headers");
    }

    void ReadUrl()
    {
        m_definition.axisOrder = m_values.Text("axis_order");
        const std::optional<std::string> url = m_values.TextOfEnvironment("url");
        if (!url)
            return;
        const UrlTemplate parsed = ParseUrlTemplate(*url);
        for (const std::string& text : parsed.errors)
            m_values.Error("url", text);
        // Warnings quote the url: they come from the text before its variables are filled in.
        const std::string written = m_values.Text("url").value_or("");
        for (const std::string& text : ParseUrlTemplate(written).warnings)
            m_values.Warn("url", text);
        if (EndsInLua(*url))
            ReadScriptUrl(*url, parsed);
        else
            m_definition.url = parsed.text;
        TakeAxisOrder(parsed);
        CheckUrl(parsed);
    }

    /// The end ".lua" marks a script wherever the URL comes from, so it must not be an address.
    void ReadScriptUrl(const std::string& url, const UrlTemplate& parsed)
    {
        const bool address = url.find("://") != std::string::npos;
        if (address || parsed.hasPlaceholders || parsed.hasServerPart)
            m_values.Error("url",
                           "ends in .lua and so names a script file; to ask a service for "
                           "such an address, put a ? behind it");
        else if (m_values.Has("script"))
            m_values.Error("url",
                           "names a script file while the key script gives another; keep "
                           "one of them");
        else
            m_definition.url = ScriptPath("url", url);
    }

    void TakeAxisOrder(const UrlTemplate& parsed)
    {
        if (parsed.axisOrder.empty()) {
            CheckAxisOrder();
            return;
        }
        if (m_definition.axisOrder)
            m_values.Warn("axis_order",
                          "is passed over: the placeholders of the url say the order");
        m_definition.axisOrder = parsed.axisOrder;
    }

    void CheckAxisOrder()
    {
        const std::string order = m_definition.axisOrder.value_or("Z,X,Y");
        if (!IsOneOf(order, "z,x,y x,y,z z,y,x x,z,y y,x,z y,z,x"))
            m_values.Warn(
                "axis_order",
                "is no order and counts as \"Z,X,Y\"; it has to be X, Y and Z with commas and "
                "without blanks, such as \"X,Y,Z\"");
    }

    void CheckUrl(const UrlTemplate& parsed)
    {
        const bool bing = Lower(m_definition.scheme.value_or("")) == "bingmap" ||
                          m_definition.scheme.value_or("") == "6";
        const bool scripted = m_values.Has("script");
        if (parsed.hasQuadkey && !bing && !scripted)
            m_values.Warn("url", "holds {$quadkey}, which only scheme = \"BingMap\" fills in");
        if (!parsed.axisOrder.empty() && bing && !scripted)
            m_values.Warn("url",
                          "holds {$x}, {$y} or {$z}, but scheme \"BingMap\" fills in quadkeys; "
                          "write {$quadkey}, or scheme = \"WebMercatorWGS84\"");
        if (parsed.hasServerPart && m_definition.servers.value_or("").empty())
            m_values.Warn("url", "holds {$serverpart}, but the key servers names no server");
        if (!parsed.hasServerPart && m_values.Has("servers"))
            m_values.Warn("servers", "is not used: the url holds no {$serverpart}");
    }

    void ReadScript()
    {
        const std::optional<std::string> script = m_values.ScriptOfEnvironment("script");
        if (!script || script->empty())
            return;
        const bool file = IsScriptFileName(*script);
        if (file && !m_values.Has("url"))
            m_definition.url = ScriptPath("script", *script);
        else if (file)
            m_definition.script = ScriptText("script", *script);
        else
            TakeInlineScript(*script);
    }

    /// Sources are told apart, in the caches too, by their template: an inline script without
    /// one gets one of its own.
    void TakeInlineScript(const std::string& script)
    {
        m_definition.script = script;
        if (!m_values.Has("url"))
            m_definition.url = "lua:" + HashDigits(script);
    }

    /// The absolute path of a script, so that scripts of the same name in two folders stay two
    /// sources. The file has to be readable.
    std::string ScriptPath(std::string_view key, const std::string& name)
    {
        ScriptText(key, name);
        return KxFile::GetFttpAbsolutePath(m_folder.c_str(), name.c_str()).Cstr();
    }

    std::string ScriptText(std::string_view key, const std::string& name)
    {
        std::string problem;
        const KxString path = KxFile::GetFttpAbsolutePath(m_folder.c_str(), name.c_str());
        const std::optional<std::string> text = ReadSmallFile(path.Cstr(), problem);
        if (!text)
            m_values.Error(key,
                           "names a script file that cannot be read (" + problem +
                               "); its place is taken from the definition's folder");
        else if (text->find('\0') != std::string::npos)
            m_values.Error(key, "names a file that is no text; scripts are Lua source text");
        return text.value_or("");
    }

    void CheckWords()
    {
        const std::string scheme = m_definition.scheme.value_or("0");
        CheckWord("scheme",
                  IsInteger(scheme) ||
                      IsOneOf(scheme, "tianditulatlon latlonwgs84 webmercatorwgs84 bingmap"),
                  "is no scheme and counts as 0",
                  NearestWord(scheme, "TianDiTuLatLon LatLonWGS84 WebMercatorWGS84 BingMap"),
                  "a number, or TianDiTuLatLon, LatLonWGS84, WebMercatorWGS84 or BingMap");
        const std::string datum = m_definition.datum.value_or("WGS84");
        CheckWord("datum",
                  IsOneOf(datum, "wgs84 gcj02 bd09"),
                  "is no datum and counts as WGS84",
                  NearestWord(datum, "WGS84 GCJ02 BD09"),
                  "WGS84, GCJ02 or BD09");
        const std::string rows = m_definition.rows.value_or("0");
        CheckWord("rows",
                  IsOneOf(rows, "southtonorth northtosouth 0 1"),
                  "is no direction, so rows count from the north",
                  NearestWord(rows, "SouthToNorth NorthToSouth"),
                  "SouthToNorth or NorthToSouth");
        const int tileSize = m_definition.tileSize.value_or(256);
        if (tileSize < 1 || tileSize > 8192)
            m_values.Warn("tile_size", "has no tiles; sizes run from 1 to 8192 pixels");
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
        m_values.Warn(key, verdict + "; " + hint);
    }

    void CheckWhole()
    {
        if (!m_values.Has("url") && !m_values.Has("script"))
            m_report.Warn(0, "url", "is missing, and so is script: this source has no tiles");
    }

    const toml::table& m_table;
    DefinitionValues m_values;
    Report& m_report;
    std::string m_folder;
    Definition m_definition;
};

std::string_view WithoutByteOrderMark(std::string_view text)
{
    return text.substr(0, 3) == "\xEF\xBB\xBF" ? text.substr(3) : text;
}

void ReadText(std::string_view text, const std::string& path, Report& report, Definition& result)
{
    const int deepLine = FindTooDeepKey(text);
    if (deepLine > 0) {
        report.Error(deepLine, "", "holds a key with more than 8 dots; definitions need one");
        return;
    }
    try {
        const toml::table table = toml::parse(text);
        const KxString folder = KxFile::GetDir(path.c_str());
        result = DefinitionReader(table, folder.Cstr(), report).Read();
    } catch (const toml::parse_error& error) {
        report.Error(static_cast<int>(error.source().begin.line),
                     "",
                     "is not TOML: " + std::string(error.description()));
    }
}

} // namespace

Definition ReadDefinition(const std::string& path, Report& report)
{
    Definition result;
    std::string problem;
    const std::optional<std::string> text = ReadSmallFile(path, problem);
    if (!text)
        report.Error(0, "", "the definition cannot be read: " + problem);
    else
        ReadText(WithoutByteOrderMark(*text), path, report, result);
    return result;
}

} // namespace KxC
