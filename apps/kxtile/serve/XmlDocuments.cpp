// SPDX-License-Identifier: MIT
#include "KxMath.h"
#include "forms/Form.h"
#include "forms/XmlText.h"
#include "serve/Documents.h"
#include "serve/SourceAddress.h"

#include <fmt/format.h>

#include <cmath>
#include <memory>
#include <vector>

namespace KxTileHost::Serve {

namespace {

constexpr char kDeclaration[] = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";

} // namespace

std::string WriteGdalXmlOf(const Source& source, const std::string& base, DayNumber day)
{
    return WriteGdalXml(*AsServedItem(source, base, ExtensionOf(FixedFormat(source)), day)).m_text;
}

std::string WriteQgisList(const SourceList& sources, const std::string& base)
{
    std::vector<std::unique_ptr<KxC::KxTSDParamItem>> items;
    std::vector<const KxC::KxTSDParamItem*> shown;
    for (const SourcePtr& source : sources.All()) {
        if (!source->m_isUsable)
            continue;
        items.push_back(AsServedItem(*source, base, ExtensionOf(source->m_format)));
        shown.push_back(items.back().get());
    }
    return "<!DOCTYPE connections>\n" + WriteQgisXml(shown).m_text;
}

std::string WriteTmsService(const SourceList& sources, const std::string& base)
{
    XmlText xml("TileMapService");
    xml.Attribute("version", "1.0.0");
    xml.Attribute("services", base + "/tms/");
    xml.Element("Title", "kxtile");
    xml.Element("Abstract", "");
    xml.Begin("TileMaps");
    for (const SourcePtr& source : sources.All()) {
        if (!source->m_isUsable)
            continue;
        xml.Begin("TileMap");
        xml.Attribute("title", source->m_name);
        xml.Attribute("srs", "EPSG:3857");
        xml.Attribute("profile", "global-mercator");
        xml.Attribute("href", fmt::format("{}/tms/1.0.0/{}", base, source->m_id));
        xml.End();
    }
    return kDeclaration + xml.ToText();
}

std::string WriteTmsMap(const Source& source, const std::string& base)
{
    constexpr double kHalf = KxC::KxMath::kHalfWorld;
    const char* const extension = ExtensionOf(FixedFormat(source));
    const std::string address = fmt::format("{}/tms/1.0.0/{}", base, source.m_id);
    XmlText xml("TileMap");
    xml.Attribute("version", "1.0.0");
    xml.Attribute("tilemapservice", base + "/tms/1.0.0/");
    xml.Element("Title", source.m_name);
    xml.Element("Abstract", source.m_attribution);
    xml.Element("SRS", "EPSG:3857");
    xml.Begin("BoundingBox");
    xml.Attribute("minx", fmt::format("{}", -kHalf));
    xml.Attribute("miny", fmt::format("{}", -kHalf));
    xml.Attribute("maxx", fmt::format("{}", kHalf));
    xml.Attribute("maxy", fmt::format("{}", kHalf));
    xml.End();
    xml.Begin("Origin");
    xml.Attribute("x", fmt::format("{}", -kHalf));
    xml.Attribute("y", fmt::format("{}", -kHalf));
    xml.End();
    xml.Begin("TileFormat");
    xml.Attribute("width", "256");
    xml.Attribute("height", "256");
    xml.Attribute("mime-type", MimeOf(FixedFormat(source)));
    xml.Attribute("extension", extension);
    xml.End();
    xml.Begin("TileSets");
    xml.Attribute("profile", "global-mercator");
    for (int level = source.m_minLevel; level <= source.m_maxLevel; ++level) {
        xml.Begin("TileSet");
        xml.Attribute("href", fmt::format("{}/{}", address, level));
        xml.Attribute("units-per-pixel", fmt::format("{}", 2 * kHalf / std::ldexp(256.0, level)));
        xml.Attribute("order", fmt::format("{}", level));
        xml.End();
    }
    return kDeclaration + xml.ToText();
}

} // namespace KxTileHost::Serve
