// SPDX-License-Identifier: MIT
#include "SourceGrid.h"
#include "forms/Form.h"
#include "forms/FormLimits.h"
#include "forms/XmlText.h"

#include <fmt/format.h>

namespace KxTileHost {

namespace {

FormLimits LimitsOf(const KxC::KxTSDParamItem& source)
{
    FormLimits limits("QGIS");
    limits.CheckForOtherPrograms(source);
    const int scheme = source.m_nTileScheme;
    limits.CannotIf(GridOf(scheme) == GridKind::Geographic, "its grid is not Web Mercator");
    limits.CannotIf(HasOtherHeaders(source, "Referer"),
                    "its requests carry header lines besides Referer");
    limits.LosesIf(source.m_strUserAgent.IsEmpty() == 0, "the user agent is");
    limits.LosesIf(HasSeveralServers(source), "servers besides the first are");
    limits.LosesIf(source.m_strAttr2.IsEmpty() == 0, "the attribution is");
    limits.LosesIf(IsPartOfWorld(source), "the bounds in degrees are");
    limits.LosesIf(source.m_nTileSize != 256 && source.m_nTileSize != 512,
                   "the size of the tiles in pixels is");
    limits.CheckWords(UrlPiecesOf(source), {"{x}", "{y}", "{-y}", "{z}", "{q}", "{usage}"});
    return limits;
}

/// How many pixels a side stand for 256; 0 where QGIS is to guess.
const char* PixelRatio(int tileSize)
{
    return tileSize == 256 ? "1" : tileSize == 512 ? "2" : "0";
}

void WriteConnection(XmlText& xml, const KxC::KxTSDParamItem& source)
{
    const UrlWords words{
        FirstServer(source), "{x}", source.m_nSouthToNorth != 0 ? "{-y}" : "{y}", "{z}", "{q}"};
    const bool levels = HasMaxLevel(source);
    const std::string name =
        source.m_strAttr1.IsEmpty() != 0 ? "KxTile source" : source.m_strAttr1.Cstr();
    xml.Begin("xyztiles");
    xml.Attribute("name", name);
    xml.Attribute("url", WriteUrl(UrlPiecesOf(source), words));
    // -1 is how QGIS itself writes that there is no such level.
    xml.Attribute("zmin", levels ? fmt::format("{}", source.m_levelBounds.m_nMinLevel) : "-1");
    xml.Attribute("zmax", levels ? fmt::format("{}", source.m_levelBounds.m_nMaxLevel) : "-1");
    xml.Attribute("tilePixelRatio", PixelRatio(source.m_nTileSize));
    xml.Attribute("referer", HeaderValue(source, "Referer").value_or(""));
    xml.Attribute("authcfg", "");
    xml.Attribute("username", "");
    xml.Attribute("password", "");
    xml.End();
}

} // namespace

FormText WriteQgisXml(const KxC::KxTSDParamItem& source)
{
    return WriteQgisXml(std::vector{&source});
}

FormText WriteQgisXml(const std::vector<const KxC::KxTSDParamItem*>& sources)
{
    FormText form;
    XmlText xml("qgsXYZTilesConnections");
    xml.Attribute("version", "1.0");
    for (const KxC::KxTSDParamItem* const source : sources) {
        const FormLimits limits = LimitsOf(*source);
        limits.ThrowIfAny();
        WriteConnection(xml, *source);
        form.m_losses.insert(form.m_losses.end(), limits.Losses().begin(), limits.Losses().end());
    }
    form.m_text = xml.ToText();
    return form;
}

} // namespace KxTileHost
