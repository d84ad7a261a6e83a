// SPDX-License-Identifier: MIT
#include "ForeignParts.h"
#include "Forms.h"
#include "MapProxyGrid.h"
#include "TextRules.h"
#include "YamlDocument.h"

namespace KxC {

namespace {

/// One tile source of a MapProxy configuration.
class MapProxyReader
{
public:
    MapProxyReader(const YAML::Node& root,
                   const std::string& name,
                   const YAML::Node& source,
                   Report& report)
        : m_root(root), m_name(name), m_source(source), m_target{report}
    {
    }

    Definition Read()
    {
        m_context.dialect = UrlDialect::MapProxy;
        m_target.definition.attr1 = m_name;
        WarnOfLeftOut();
        ReadMapProxyGrid(m_root, m_source, m_context, m_target);
        ReadHttp();
        ReadUrl();
        return std::move(m_target.definition);
    }

private:
    Place PlaceOf(const char* key) const { return {LineOf(Child(m_source, key)), Key(key)}; }
    std::string Key(const char* key) const { return "sources." + m_name + "." + key; }

    void WarnOfLeftOut()
    {
        for (const auto& entry : m_source) {
            const std::string key = TextOf(entry.first).value_or("");
            if (!IsOneOf(key,
                         "type url grid origin http transparent format request_format seed_only"))
                m_target.Warn({LineOf(entry.first), Key(Printable(key).c_str())},
                              "is not taken over; what it says has to stand in a definition of "
                              "your own");
        }
    }

    /// MapProxy takes the headers that stand for all sources where a source says none itself.
    void ReadHttp()
    {
        const YAML::Node own = Child(m_source, "http");
        const YAML::Node shared = Child(Child(m_root, "globals"), "http");
        CheckHttp(own, Key("http"));
        CheckHttp(shared, "globals.http");
        if (Child(own, "headers").IsNull())
            ReadHeaders(Child(shared, "headers"), "globals.http.headers");
        else
            ReadHeaders(Child(own, "headers"), Key("http.headers"));
        if (!Child(own, "headers").IsNull() && !Child(shared, "headers").IsNull())
            m_target.Warn({LineOf(Child(shared, "headers")), "globals.http.headers"},
                          "is passed over: the source's own headers take its place");
    }

    void CheckHttp(const YAML::Node& http, const std::string& key)
    {
        if (http.IsNull())
            return;
        if (!http.IsMap()) {
            RefuseHttp(http, key);
            return;
        }
        for (const auto& entry : http)
            CheckHttpEntry(TextOf(entry.first).value_or(""), entry.first, entry.second, key);
    }

    void CheckHttpEntry(const std::string& name,
                        const YAML::Node& where,
                        const YAML::Node& value,
                        const std::string& key)
    {
        const Place place{LineOf(where), key + "." + Printable(name)};
        const std::string text = TextOf(value).value_or("");
        if (name == "method" && !IsOneOf(text, "get auto"))
            m_target.Error(place, "is none that tiles are asked for by here; that is GET alone");
        else if (!IsOneOf(name, "headers method"))
            m_target.Warn(place,
                          "is not taken over; of http only headers are, and certificates are "
                          "always checked");
    }

    void RefuseHttp(const YAML::Node& node, const std::string& key)
    {
        m_target.Error({LineOf(node), key},
                       "is no map with a map of headers; write headers: and below it Name: value");
    }

    void ReadHeaders(const YAML::Node& headers, const std::string& key)
    {
        if (headers.IsNull())
            return;
        if (!headers.IsMap()) {
            RefuseHttp(headers, key);
            return;
        }
        for (const auto& header : headers)
            if (!ReadHeader(header.first, header.second, key))
                break;
    }

    /// @return false when there are too many
    bool ReadHeader(const YAML::Node& name, const YAML::Node& value, const std::string& key)
    {
        const std::optional<std::string> nameText = TextOf(name);
        const std::optional<std::string> valueText = TextOf(value);
        const Place place{LineOf(name), key};
        if (!nameText || !valueText)
            m_target.Error(place, "has an entry that is no pair of texts; write Name: value");
        else if (Lower(*nameText) == "user-agent")
            TakeUserAgent(*valueText, place);
        else
            return AddForeignHeader(*nameText, *valueText, place, m_target);
        return true;
    }

    void TakeUserAgent(const std::string& text, const Place& place)
    {
        if (HasControl(text))
            m_target.Error(place, "has a control character in the user agent; leave it out");
        TakeForeignText("user_agent", text, place, m_target.definition.userAgent, m_target);
    }

    void ReadUrl()
    {
        const YAML::Node url = Child(m_source, "url");
        const std::optional<std::string> text = TextOf(url);
        if (!text) {
            m_target.Error({LineOf(url.IsNull() ? m_source : url), Key("url")},
                           "is missing or no text; write the address of a tile, such as "
                           "http://tiles.example.org/%(z)s/%(x)s/%(y)s.png");
            return;
        }
        TakeForeignUrl(WithFormat(*text), PlaceOf("url"), m_context, m_target);
    }

    /// The format comes from the cache that asks, whose own default is PNG.
    std::string WithFormat(std::string url)
    {
        constexpr std::string_view kPlaceholder = "%(format)s";
        const std::size_t at = url.find(kPlaceholder);
        const std::string text = TextOf(Child(m_source, "format")).value_or("");
        const std::string ending = text.empty() ? "png" : text.substr(text.rfind('/') + 1);
        if (at == std::string::npos)
            return url;
        if (text.empty())
            m_target.Warn(PlaceOf("url"),
                          "holds %(format)s, for which png is taken; write the ending where it "
                          "is another");
        m_target.definition.format = ending;
        return url.replace(at, kPlaceholder.size(), ending);
    }

    const YAML::Node& m_root;
    const std::string& m_name;
    const YAML::Node& m_source;
    ForeignDefinition m_target;
    UrlContext m_context;
};

struct TileSources
{
    std::vector<std::string> names;
    std::vector<YAML::Node> nodes;
    std::string others; ///< kinds of the sources that are none of tiles
};

TileSources FindTileSources(const YAML::Node& sources)
{
    TileSources found;
    for (const auto& entry : sources) {
        const std::string kind = TextOf(Child(entry.second, "type")).value_or("");
        if (kind == "tile") {
            found.names.push_back(TextOf(entry.first).value_or(""));
            found.nodes.push_back(entry.second);
        } else if (found.others.size() < 64) {
            found.others += (found.others.empty() ? "" : ", ") +
                            (kind.empty() ? std::string("none") : Printable(kind));
        }
    }
    return found;
}

Definition ReadRoot(const YAML::Node& root, const std::string& wanted, Report& report)
{
    const YAML::Node sources = Child(root, "sources");
    if (!sources.IsMap()) {
        report.Error(LineOf(root),
                     "sources",
                     "is missing or no map; a MapProxy configuration names its tile sources "
                     "below it");
        return {};
    }
    const TileSources found = FindTileSources(sources);
    if (found.nodes.empty()) {
        report.Error(LineOf(sources),
                     "sources",
                     "holds no source with type: tile, the only one that can be read; there are "
                     "types: " +
                         found.others);
        return {};
    }
    const auto chosen = ChooseSource(found.names, wanted, "tile sources", report);
    if (!chosen)
        return {};
    return MapProxyReader(root, found.names[*chosen], found.nodes[*chosen], report).Read();
}

} // namespace

std::vector<std::string> MapProxySourceNames(const DefinitionText& source)
try {
    Report unused;
    const std::optional<YAML::Node> root = ParseYaml(source.text, unused);
    const YAML::Node sources = root ? Child(*root, "sources") : YAML::Node();
    return sources.IsMap() ? FindTileSources(sources).names : std::vector<std::string>();
} catch (const YAML::Exception&) {
    return {};
}

Definition ReadMapProxyForm(const DefinitionText& source, Report& report)
{
    const std::optional<YAML::Node> root = ParseYaml(source.text, report);
    if (!root)
        return {};
    try {
        return ReadRoot(*root, source.wanted, report);
    } catch (const YAML::Exception& error) {
        report.Error(error.mark.is_null() ? 0 : error.mark.line + 1,
                     "",
                     "is YAML of another shape than a MapProxy configuration; it has maps of "
                     "sources and grids");
        return {};
    }
}

} // namespace KxC
