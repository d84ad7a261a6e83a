// SPDX-License-Identifier: MIT
#include "TomlUrl.h"

#include "DefinitionFile.h"
#include "DefinitionWords.h"
#include "HashKey.h"
#include "KxFile.h"
#include "TextRules.h"
#include "UrlTemplate.h"

namespace KxC {

namespace {

bool IsScriptFileName(std::string_view script)
{
    return EndsInLua(script) && script.find_first_of("\r\n") == std::string_view::npos;
}

class TomlUrlReader
{
public:
    TomlUrlReader(DefinitionValues& values, const std::string& folder, Definition& definition)
        : m_values(values), m_folder(folder), m_definition(definition)
    {
    }

    void Read()
    {
        ReadUrl();
        ReadScript();
    }

private:
    void ReadUrl()
    {
        const std::optional<std::string> url = m_values.TextOfEnvironment("url");
        if (!url)
            return;
        const UrlContext context = Context();
        const UrlTemplate parsed = ParseUrlTemplate(*url, context);
        ReportOn(parsed, context);
        if (EndsInLua(*url))
            ReadScriptUrl(*url, parsed);
        else
            TakeUrl(parsed);
        TakeAxisOrder(parsed);
        CheckUrl(parsed);
        if (!EndsInLua(*url) && !context.scripted)
            CheckCanBeFetched(*url);
    }

    /// The server's part may hold the beginning itself.
    void CheckCanBeFetched(const std::string& url)
    {
        const bool byServer = Lower(url.substr(0, 13)) == "{$serverpart}";
        const std::string address = byServer ? m_definition.servers.value_or("") : url;
        const std::size_t colon = address.find("://");
        if (colon == std::string::npos)
            m_values.Mislead("url",
                             "does not begin with http:// or https://; write https:// "
                             "before it");
        else if (!IsOneOf(address.substr(0, colon), "http https"))
            m_values.Mislead("url",
                             "is not fetched; only addresses that begin with http or https are");
        if (url.find(' ') != std::string::npos)
            m_values.Mislead("url", "holds a blank, which no address has; write %20 in its place");
        if (NamesVectorTiles(url))
            m_values.Mislead("url",
                             "asks for drawings (vector tiles), which are not shown; use the "
                             "service's pictures (raster tiles)");
    }

    UrlContext Context() const
    {
        const int scheme = SchemeOf(m_definition);
        UrlContext context;
        context.servers = m_definition.servers.value_or("");
        context.levelOffset = m_definition.levelOffset.value_or(0);
        context.halfRows = HasHalfRows(scheme);
        context.rowsFromSouth = IsFromSouth(m_definition.rows.value_or("")) && !context.halfRows;
        context.baidu = scheme == kSchemeBaidu;
        context.scripted = m_values.Has("script") || scheme == kSchemeEarthHistory;
        return context;
    }

    /// Messages quote the url, so they come from the text before its variables are filled in.
    void ReportOn(const UrlTemplate& parsed, const UrlContext& context)
    {
        const UrlTemplate written = ParseUrlTemplate(m_values.Text("url").value_or(""), context);
        for (const std::string& text : written.errors)
            m_values.Error("url", text);
        for (const std::string& text : written.misleading)
            m_values.Mislead("url", text);
        for (const std::string& text : written.warnings)
            m_values.Warn("url", text);
        if (!parsed.errors.empty() && written.errors.empty())
            m_values.Error("url",
                           "is no good address once its environment variables are filled in");
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

    void TakeUrl(const UrlTemplate& parsed)
    {
        m_definition.url = parsed.text;
        m_definition.namedPlaceholders = parsed.hasPlaceholders;
        m_definition.foreignPlaceholders = parsed.foreign;
        if (!parsed.script.empty())
            m_definition.script = parsed.script;
        if (parsed.levelOffset != 0)
            AddLevelOffset(parsed.levelOffset);
        if (parsed.hasRowFromSouth)
            TakeRowFromSouth();
        if (!parsed.servers.empty())
            TakeServers(parsed.servers);
        // Only quadkeys go into such an address, so it says the scheme, as in other forms.
        const bool onlyQuadkey = parsed.hasQuadkey && parsed.axisOrder.empty();
        if (onlyQuadkey && parsed.foreign && !m_values.Has("scheme") && !IsScripted(parsed))
            m_definition.scheme = "BingMap";
    }

    bool IsScripted(const UrlTemplate& parsed) const
    {
        return m_values.Has("script") || !parsed.script.empty();
    }

    void AddLevelOffset(int offset)
    {
        const long long sum = static_cast<long long>(m_definition.levelOffset.value_or(0)) + offset;
        if (sum < -1000 || sum > 1000)
            m_values.Error("level_offset", "and the one in the url add up to no level");
        else
            m_definition.levelOffset = static_cast<int>(sum);
    }

    void TakeRowFromSouth()
    {
        if (IsFromSouth(m_definition.rows.value_or("")))
            m_values.Warn("rows", "says what {-y} in the url says already; keep one of them");
        else if (m_definition.rows)
            m_values.Warn("rows",
                          "is passed over; {-y} in the url says that rows count from the south");
        m_definition.rows = "SouthToNorth";
    }

    void TakeServers(const std::string& servers)
    {
        if (m_values.Has("servers"))
            m_values.Warn("servers", "is not used; the url names its servers itself");
        m_definition.servers = servers;
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
            m_values.Mislead(
                "axis_order",
                "is no order and counts as \"Z,X,Y\"; it has to be X, Y and Z with commas and "
                "without blanks, such as \"X,Y,Z\"");
    }

    void CheckUrl(const UrlTemplate& parsed)
    {
        const bool bing = SchemeOf(m_definition) == kSchemeBingMap;
        const bool scripted = IsScripted(parsed);
        if (parsed.hasQuadkey && !bing && !scripted)
            m_values.Mislead("url", "holds {$quadkey}, which only scheme = \"BingMap\" fills in");
        if (!parsed.axisOrder.empty() && bing && !scripted)
            m_values.Mislead("url",
                             "holds {$x}, {$y} or {$z}, but scheme \"BingMap\" fills in quadkeys; "
                             "write {$quadkey}, or scheme = \"WebMercatorWGS84\"");
        if (parsed.hasServerPart && parsed.errors.empty() &&
            m_definition.servers.value_or("").empty())
            m_values.Mislead("url", "holds {$serverpart}, but the key servers names no server");
        if (!parsed.hasServerPart && parsed.servers.empty() && m_values.Has("servers"))
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

    DefinitionValues& m_values;
    const std::string& m_folder;
    Definition& m_definition;
};

} // namespace

void ReadTomlUrl(DefinitionValues& values, const std::string& folder, Definition& definition)
{
    TomlUrlReader(values, folder, definition).Read();
}

} // namespace KxC
