// SPDX-License-Identifier: MIT
#include "KxMath.h"
#include "forms/XmlText.h"
#include "serve/Documents.h"
#include "serve/Route.h"
#include "serve/SourceAddress.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <set>
#include <string>

namespace KxTileHost::Serve {

namespace {

constexpr char kCrs[] = "urn:ogc:def:crs:EPSG::3857";
constexpr double kHalf = KxC::KxMath::kHalfWorld; ///< metres
constexpr double kMillimetre = 0.001;
/// Of level 0, pixels of 0.28 mm.
constexpr double kScaleDenominator = 559082264.0287178;

class WmtsWriter
{
public:
    WmtsWriter(const SourceList& sources, const std::string& base)
        : m_sources(sources), m_base(base)
    {
        for (const SourcePtr& source : sources.All())
            if (source->m_isUsable)
                m_lastLevels.insert(source->m_maxLevel);
    }

    std::string Write()
    {
        WriteNamespaces();
        WriteService();
        WriteOperations();
        m_xml.Begin("Contents");
        for (const SourcePtr& source : m_sources.All())
            if (source->m_isUsable)
                WriteLayer(*source);
        for (const int level : m_lastLevels)
            WriteMatrixSet(MatrixSetTo(level), level);
        if (!m_lastLevels.empty())
            WriteMatrixSet(std::string(kMatrixSet), *m_lastLevels.rbegin());
        m_xml.End();
        m_xml.Begin("ServiceMetadataURL");
        m_xml.Attribute("xlink:href", m_base + "/wmts/1.0.0/WMTSCapabilities.xml");
        m_xml.End();
        return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n" + m_xml.ToText();
    }

private:
    void WriteNamespaces()
    {
        m_xml.Attribute("xmlns", "http://www.opengis.net/wmts/1.0");
        m_xml.Attribute("xmlns:ows", "http://www.opengis.net/ows/1.1");
        m_xml.Attribute("xmlns:xlink", "http://www.w3.org/1999/xlink");
        m_xml.Attribute("xmlns:xsi", "http://www.w3.org/2001/XMLSchema-instance");
        m_xml.Attribute("xsi:schemaLocation",
                        "http://www.opengis.net/wmts/1.0 "
                        "http://schemas.opengis.net/wmts/1.0/wmtsGetCapabilities_response.xsd");
        m_xml.Attribute("version", "1.0.0");
    }

    void WriteService()
    {
        m_xml.Begin("ows:ServiceIdentification");
        m_xml.Element("ows:Title", "kxtile");
        m_xml.Element("ows:ServiceType", "OGC WMTS");
        m_xml.Element("ows:ServiceTypeVersion", "1.0.0");
        m_xml.End();
    }

    void WriteGet(const std::string& address, const char* encoding)
    {
        m_xml.Begin("ows:Get");
        m_xml.Attribute("xlink:href", address);
        m_xml.Begin("ows:Constraint");
        m_xml.Attribute("name", "GetEncoding");
        m_xml.Begin("ows:AllowedValues");
        m_xml.Element("ows:Value", encoding);
        for (int i = 0; i < 3; ++i)
            m_xml.End();
    }

    void WriteOperation(const char* name, const std::string& restful)
    {
        m_xml.Begin("ows:Operation");
        m_xml.Attribute("name", name);
        m_xml.Begin("ows:DCP");
        m_xml.Begin("ows:HTTP");
        WriteGet(restful, "RESTful");
        WriteGet(m_base + "/wmts?", "KVP");
        for (int i = 0; i < 3; ++i)
            m_xml.End();
    }

    void WriteOperations()
    {
        m_xml.Begin("ows:OperationsMetadata");
        WriteOperation("GetCapabilities", m_base + "/wmts/1.0.0/WMTSCapabilities.xml");
        WriteOperation("GetTile", m_base + "/wmts/");
        m_xml.End();
    }

    void WriteBounds(const Source& source)
    {
        const KxC::KxRect2d& bounds = source.m_bounds;
        m_xml.Begin("ows:WGS84BoundingBox");
        m_xml.Element("ows:LowerCorner", fmt::format("{} {}", bounds.m_dLeft, bounds.m_dBottom));
        m_xml.Element("ows:UpperCorner", fmt::format("{} {}", bounds.m_dRight, bounds.m_dTop));
        m_xml.End();
    }

    /// For programs that would round what they make of degrees to one row more.
    void WriteBoundsInMetres(const Source& source)
    {
        const KxC::KxRect2d& bounds = source.m_bounds;
        const KxC::KxPoint2d southWest = InMetres(bounds.m_dLeft, bounds.m_dBottom);
        const KxC::KxPoint2d northEast = InMetres(bounds.m_dRight, bounds.m_dTop);
        m_xml.Begin("ows:BoundingBox");
        m_xml.Attribute("crs", kCrs);
        m_xml.Element("ows:LowerCorner", fmt::format("{} {}", southWest.x, southWest.y));
        m_xml.Element("ows:UpperCorner", fmt::format("{} {}", northEast.x, northEast.y));
        m_xml.End();
    }

    void WriteLayer(const Source& source)
    {
        m_xml.Begin("Layer");
        m_xml.Element("ows:Title", source.m_name);
        m_xml.Element("ows:Abstract", source.m_attribution);
        WriteBounds(source);
        m_xml.Element("ows:Identifier", source.m_id);
        WriteBoundsInMetres(source);
        m_xml.Begin("Style");
        m_xml.Attribute("isDefault", "true");
        m_xml.Element("ows:Identifier", "default");
        m_xml.End();
        const auto formats = FormatsOf(source);
        for (const TileFormat format : formats)
            m_xml.Element("Format", MimeOf(format));
        WriteLinks(source);
        for (const TileFormat format : formats)
            WriteResource(source, format);
        m_xml.End();
    }

    /// The first is what programs take when nobody chooses.
    static std::array<TileFormat, 3> FormatsOf(const Source& source)
    {
        std::array<TileFormat, 3> formats{TileFormat::Png, TileFormat::Jpeg, TileFormat::WebP};
        const auto first = std::find(formats.begin(), formats.end(), FixedFormat(source));
        std::rotate(formats.begin(), first, std::next(first));
        return formats;
    }

    void WriteResource(const Source& source, TileFormat format)
    {
        m_xml.Begin("ResourceURL");
        m_xml.Attribute("format", MimeOf(format));
        m_xml.Attribute("resourceType", "tile");
        m_xml.Attribute("template",
                        fmt::format("{}/wmts/{}/default/{{TileMatrixSet}}/{{TileMatrix}}/"
                                    "{{TileRow}}/{{TileCol}}.{}",
                                    m_base,
                                    source.m_id,
                                    ExtensionOf(format)));
        m_xml.End();
    }

    /// Names that clients save hang on the layer alone, not on the other layers. Programs take the
    /// first set when nobody chooses, and its last level for the layer's.
    void WriteLinks(const Source& source)
    {
        WriteLink(source, MatrixSetTo(source.m_maxLevel));
        WriteLink(source, std::string(kMatrixSet));
    }

    void WriteLink(const Source& source, const std::string& matrixSet)
    {
        m_xml.Begin("TileMatrixSetLink");
        m_xml.Element("TileMatrixSet", matrixSet);
        m_xml.Begin("TileMatrixSetLimits");
        for (int level = source.m_minLevel; level <= source.m_maxLevel; ++level)
            WriteLimitsOfLevel(source.m_bounds, level);
        m_xml.End();
        m_xml.End();
    }

    void WriteLimitsOfLevel(const KxC::KxRect2d& bounds, int level)
    {
        m_xml.Begin("TileMatrixLimits");
        m_xml.Element("TileMatrix", fmt::format("{}", level));
        m_xml.Element("MinTileRow", fmt::format("{}", RowOf(bounds.m_dTop, level)));
        m_xml.Element("MaxTileRow", fmt::format("{}", RowOf(bounds.m_dBottom, level)));
        m_xml.Element("MinTileCol", fmt::format("{}", ColumnOf(bounds.m_dLeft, level)));
        m_xml.Element("MaxTileCol", fmt::format("{}", ColumnOf(bounds.m_dRight, level)));
        m_xml.End();
    }

    static int IndexOf(double part, int level)
    {
        const double count = std::ldexp(1.0, level);
        return static_cast<int>(std::clamp(std::floor(part * count), 0.0, count - 1.0));
    }

    static int ColumnOf(double longitude, int level)
    {
        return IndexOf((longitude + 180.0) / 360.0, level);
    }

    /// Of degrees; the plane's edge where that is meant.
    static KxC::KxPoint2d InMetres(double longitude, double latitude)
    {
        constexpr double kRadians = std::numbers::pi / 180.0;
        const double limited = std::clamp(latitude, -Source::kLastLatitude, Source::kLastLatitude);
        KxC::KxPoint2d metres =
            KxC::KxMath::LatLon2WebMecator(longitude * kRadians, limited * kRadians);
        for (double* const value : {&metres.x, &metres.y})
            if (std::abs(std::abs(*value) - kHalf) < kMillimetre)
                *value = std::copysign(kHalf, *value);
        return metres;
    }

    static int RowOf(double latitude, int level)
    {
        return IndexOf((kHalf - InMetres(0.0, latitude).y) / (2 * kHalf), level);
    }

    void WriteMatrixSet(const std::string& name, int lastLevel)
    {
        m_xml.Begin("TileMatrixSet");
        m_xml.Element("ows:Identifier", name);
        m_xml.Element("ows:SupportedCRS", kCrs);
        m_xml.Element("WellKnownScaleSet", "urn:ogc:def:wkss:OGC:1.0:GoogleMapsCompatible");
        for (int level = 0; level <= lastLevel; ++level)
            WriteMatrix(level);
        m_xml.End();
    }

    void WriteMatrix(int level)
    {
        const long long count = 1LL << level;
        m_xml.Begin("TileMatrix");
        m_xml.Element("ows:Identifier", fmt::format("{}", level));
        m_xml.Element("ScaleDenominator",
                      fmt::format("{:.10f}", kScaleDenominator / std::ldexp(1.0, level)));
        m_xml.Element("TopLeftCorner", fmt::format("{} {}", -kHalf, kHalf));
        m_xml.Element("TileWidth", "256");
        m_xml.Element("TileHeight", "256");
        m_xml.Element("MatrixWidth", fmt::format("{}", count));
        m_xml.Element("MatrixHeight", fmt::format("{}", count));
        m_xml.End();
    }

    const SourceList& m_sources;
    const std::string& m_base;
    std::set<int> m_lastLevels;
    XmlText m_xml{"Capabilities"};
};

} // namespace

std::string WriteWmtsCapabilities(const SourceList& sources, const std::string& base)
{
    return WmtsWriter(sources, base).Write();
}

} // namespace KxTileHost::Serve
