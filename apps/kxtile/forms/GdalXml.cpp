// SPDX-License-Identifier: MIT
#include "SourceFormat.h"
#include "SourceGrid.h"
#include "forms/Form.h"
#include "forms/FormLimits.h"
#include "forms/Schemes.h"
#include "forms/XmlText.h"

#include <fmt/format.h>

#include <algorithm>

namespace KxTileHost {

namespace {

/// Written where a source names no last level.
constexpr int kLastLevel = 18;
constexpr double kHalfWorld = 20037508.342789244;

/// The square that the one tile of level 0 covers, and the part of it that has pictures.
struct Window
{
    double m_west, m_north, m_east, m_south;
    double m_usedPart; ///< of its height, from the north
    const char* m_projection;
};

Window WindowOf(int scheme)
{
    if (GridOf(scheme) == GridKind::WebMercator)
        return {-kHalfWorld, kHalfWorld, kHalfWorld, -kHalfWorld, 1.0, "EPSG:3857"};
    if (Scheme::HasThreeQuarterRows(scheme)) // rows from latitude 90; the lower half is empty
        return {-180.0, 90.0, 180.0, -90.0, 0.5, "EPSG:4326"};
    return {-180.0, 180.0, 180.0, -180.0, 1.0, "EPSG:4326"};
}

FormLimits LimitsOf(const KxC::KxTSDParamItem& source)
{
    FormLimits limits("GDAL");
    limits.CheckForOtherPrograms(source);
    limits.CannotIf(HasOtherHeaders(source, "Referer"),
                    "its requests carry header lines besides Referer (GDAL takes them from its "
                    "option GDAL_HTTP_HEADERS)");
    limits.CannotIf(source.m_nTileScheme == 3, "its requests carry a user agent of the scheme");
    limits.LosesIf(HasSeveralServers(source), "servers besides the first are");
    limits.LosesIf(source.m_strAttr2.IsEmpty() == 0, "the attribution is");
    limits.LosesIf(IsPartOfWorld(source), "the bounds in degrees are");
    if (!HasMaxLevel(source))
        limits.Warn(fmt::format("GDAL wants a last level, and {} is written; with max_level in "
                                "[bounds] it is that",
                                kLastLevel));
    limits.CheckWords(UrlPiecesOf(source), {"${"});
    return limits;
}

void WriteService(XmlText& xml, const KxC::KxTSDParamItem& source)
{
    const UrlWords words{FirstServer(source), "${x}", "${y}", "${z}", "${quadkey}"};
    xml.Begin("Service");
    xml.Attribute("name", source.m_nTileScheme == Scheme::kBingMap ? "VirtualEarth" : "TMS");
    xml.Element("ServerUrl", WriteUrl(UrlPiecesOf(source), words));
    xml.End();
}

void WriteWindow(XmlText& xml, const KxC::KxTSDParamItem& source, const Window& window)
{
    const int last =
        HasMaxLevel(source) ? std::clamp(source.m_levelBounds.m_nMaxLevel, 0, 22) : kLastLevel;
    const long long size = static_cast<long long>(source.m_nTileSize) << last;
    const bool fromSouth =
        source.m_nSouthToNorth != 0 && !Scheme::HasThreeQuarterRows(source.m_nTileScheme);
    xml.Begin("DataWindow");
    xml.Element("UpperLeftX", fmt::format("{}", window.m_west));
    xml.Element("UpperLeftY", fmt::format("{}", window.m_north));
    xml.Element("LowerRightX", fmt::format("{}", window.m_east));
    xml.Element("LowerRightY", fmt::format("{}", window.m_south));
    xml.Element("SizeX", fmt::format("{}", size));
    xml.Element(
        "SizeY",
        fmt::format("{}", static_cast<long long>(static_cast<double>(size) * window.m_usedPart)));
    xml.Element("TileLevel", fmt::format("{}", last));
    xml.Element("TileCountX", "1");
    xml.Element("TileCountY", "1");
    xml.Element("YOrigin", fromSouth ? "bottom" : "top");
    xml.End();
    xml.Element("Projection", window.m_projection);
    xml.Element("OverviewCount",
                fmt::format("{}", last - std::clamp(source.m_levelBounds.m_nMinLevel, 0, last)));
}

void WritePictures(XmlText& xml, const KxC::KxTSDParamItem& source)
{
    const bool png = FormatEndsIn(source, "png");
    xml.Element("BlockSizeX", fmt::format("{}", source.m_nTileSize));
    xml.Element("BlockSizeY", fmt::format("{}", source.m_nTileSize));
    xml.Element("BandsCount", png ? "4" : "3");
}

/// What the library takes for "no tile here" is an empty block.
void WriteRequests(XmlText& xml, const KxC::KxTSDParamItem& source)
{
    xml.Element("ZeroBlockHttpCodes", "204,404,410");
    if (source.m_strUserAgent.IsEmpty() == 0)
        xml.Element("UserAgent", source.m_strUserAgent.Cstr());
    if (const auto referer = HeaderValue(source, "Referer"))
        xml.Element("Referer", *referer);
}

} // namespace

FormText WriteGdalXml(const KxC::KxTSDParamItem& source)
{
    const FormLimits limits = LimitsOf(source);
    limits.ThrowIfAny();
    XmlText xml("GDAL_WMS");
    WriteService(xml, source);
    WriteWindow(xml, source, WindowOf(source.m_nTileScheme));
    WritePictures(xml, source);
    WriteRequests(xml, source);
    return {xml.ToText(), limits.Losses()};
}

} // namespace KxTileHost
