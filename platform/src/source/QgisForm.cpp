// SPDX-License-Identifier: MIT
#include "ForeignParts.h"
#include "Forms.h"
#include "XmlDocument.h"

#include <cstring>

namespace KxC {

namespace {

constexpr int kLastLevel = 30;

/// One <xyztiles> of a list of connections.
class QgisReader
{
public:
    QgisReader(const XmlDocument& document, const pugi::xml_node& node, Report& report)
        : m_document(document), m_node(node), m_target{report}
    {
    }

    Definition Read()
    {
        TakeForeignText(
            "name", Attribute("name"), PlaceOf("name"), m_target.definition.attr1, m_target);
        ReadLevels();
        ReadPixelRatio();
        ReadRequest();
        UrlContext context;
        context.dialect = UrlDialect::Web;
        TakeForeignUrl(Attribute("url"), PlaceOf("url"), context, m_target);
        return std::move(m_target.definition);
    }

private:
    std::string Attribute(const char* name) const { return m_node.attribute(name).value(); }
    Place PlaceOf(const std::string& name) const { return {m_document.LineOf(m_node, name), name}; }

    void ReadLevels()
    {
        m_target.definition.minLevel = Level("zmin", "bounds.min_level");
        m_target.definition.maxLevel = Level("zmax", "bounds.max_level");
    }

    /// QGIS writes -1 for "not said".
    std::optional<int> Level(const char* name, const std::string& key)
    {
        const std::string text = Attribute(name);
        m_target.definition.places[key] = PlaceOf(name);
        if (text.empty() || text == "-1")
            return std::nullopt;
        return ForeignInteger(text, {0, kLastLevel}, PlaceOf(name), m_target);
    }

    /// 0 is unknown, 1 256 pixels, 2 512 pixels.
    void ReadPixelRatio()
    {
        const std::string text = Attribute("tilePixelRatio");
        if (text.empty())
            return;
        const std::optional<double> ratio =
            ForeignNumber(text, PlaceOf("tilePixelRatio"), m_target);
        if (ratio && *ratio != 0.0 && *ratio != 1.0 && *ratio != 2.0)
            m_target.Error(PlaceOf("tilePixelRatio"), "is no ratio; it has to be 0, 1 or 2");
        else if (ratio && *ratio == 2.0)
            m_target.definition.tileSize = 512;
    }

    void ReadRequest()
    {
        for (const pugi::xml_attribute& attribute : m_node.attributes())
            if (!ReadHeader(attribute))
                break;
        if (!Attribute("username").empty() || !Attribute("password").empty() ||
            !Attribute("authcfg").empty())
            m_target.Warn(PlaceOf(Attribute("authcfg").empty() ? "username" : "authcfg"),
                          "and what goes with it are not taken over; write the header line that "
                          "the service wants into a definition of your own");
        const std::string interpretation = Attribute("interpretation");
        if (!interpretation.empty() && interpretation != "default")
            m_target.Error(PlaceOf("interpretation"),
                           "says that the tiles are heights, not pictures; there is nothing here "
                           "that draws them");
    }

    /// Older versions write "referer", newer ones "http-header:referer".
    /// @return false when there are too many
    bool ReadHeader(const pugi::xml_attribute& attribute)
    {
        constexpr std::string_view kPrefix = "http-header:";
        const std::string name = attribute.name();
        const bool prefixed = name.substr(0, kPrefix.size()) == kPrefix;
        const std::string header = prefixed            ? name.substr(kPrefix.size())
                                   : name == "referer" ? "Referer"
                                                       : "";
        if (header.empty() || *attribute.value() == '\0')
            return true;
        return AddForeignHeader(header, attribute.value(), PlaceOf(name), m_target);
    }

    const XmlDocument& m_document;
    pugi::xml_node m_node;
    ForeignDefinition m_target;
};

std::vector<std::string> NamesIn(const XmlDocument& document)
{
    std::vector<std::string> names;
    for (const pugi::xml_node& node : document.Root().children("xyztiles"))
        names.emplace_back(node.attribute("name").value());
    return names;
}

} // namespace

std::vector<std::string> QgisSourceNames(const DefinitionText& source)
{
    Report unused;
    XmlDocument document(source.text);
    return document.Parse(unused) ? NamesIn(document) : std::vector<std::string>();
}

Definition ReadQgisForm(const DefinitionText& source, Report& report)
{
    XmlDocument document(source.text);
    if (!document.Parse(report))
        return {};
    const auto children = document.Root().children("xyztiles");
    const std::vector<pugi::xml_node> nodes(children.begin(), children.end());
    if (nodes.empty()) {
        report.Error(document.LineOf(document.Root()),
                     "",
                     "holds no connection; export the list with at least one <xyztiles>");
        return {};
    }
    const auto chosen = ChooseSource(NamesIn(document), source.wanted, "connections", report);
    return chosen ? QgisReader(document, nodes[*chosen], report).Read() : Definition{};
}

} // namespace KxC
