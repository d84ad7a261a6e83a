// SPDX-License-Identifier: MIT
#include "Crs.h"

#include "Command.h"
#include "KxPlugin.h"
#include "KxRasterWriter.h"

#include <fmt/format.h>

#include <charconv>
#include <cmath>
#include <limits>
#include <memory>

namespace KxTileHost {

namespace {

KxC::ProjectStringType FormOf(const std::string& crs)
{
    if (crs.starts_with('+'))
        return KxC::ProjectStringType_Proj4;
    if (crs.ends_with(".prj"))
        return KxC::ProjectStringType_PrjFile;
    if (crs.find('[') != std::string::npos)
        return KxC::ProjectStringType_WKT;
    return KxC::ProjectStringType_Authority;
}

/// Whether points of a degree's grid are where longitude and latitude say, to within `tolerance`.
bool HasOwnDegrees(const Crs& crs, double tolerance)
{
    for (const KxC::KxPoint2d point : {KxC::KxPoint2d(10, 50), {-75, 40}, {120, -30}}) {
        const auto degrees = crs.ToDegrees(point.x, point.y);
        // Not all systems reach everywhere.
        if (degrees && std::hypot(degrees->x - point.x, degrees->y - point.y) > tolerance)
            return false;
    }
    return crs.ToDegrees(10, 50).has_value();
}

} // namespace

Crs::Crs(const std::string& text)
    : m_text(text), m_form(FormOf(text)),
      m_transform(KxC::m_gCoordSysTransManager.GetKxCoordSysTrans(text.c_str(), m_form))
{
    const std::string error = m_transform->GetError().Cstr();
    if (!error.empty())
        throw CommandError(kExitFailed,
                           fmt::format("cannot use the coordinate system '{}': {}", text, error),
                           "Write EPSG:32650 or the like, a PROJ string, WKT, or the path of a "
                           ".prj file.");
}

std::optional<KxC::KxPoint2d> Crs::ToDegrees(double x, double y) const
{
    constexpr double nowhere = std::numeric_limits<double>::quiet_NaN();
    KxC::KxPoint3d place(nowhere, nowhere, 0.0);
    m_transform->SrcPtToWGS84Pt({x, y, 0.0}, place);
    if (!std::isfinite(place.x) || !std::isfinite(place.y))
        return std::nullopt;
    return KxC::KxPoint2d(place.x, place.y);
}

bool Crs::IsInDegrees() const
{
    // Datums differ by less; metres, grads and radians by more.
    return HasOwnDegrees(*this, 0.1);
}

bool Crs::IsWgs84() const
{
    return HasOwnDegrees(*this, 1e-8);
}

std::optional<int> Crs::EpsgCode() const
{
    constexpr std::size_t kPrefix = 5;
    std::string authority = m_text.substr(0, kPrefix);
    for (char& character : authority)
        character = static_cast<char>(std::toupper(static_cast<unsigned char>(character)));
    int code = 0;
    const char* const end = m_text.data() + m_text.size();
    if (authority != "EPSG:" || std::from_chars(m_text.data() + kPrefix, end, code).ptr != end ||
        code <= 0)
        return std::nullopt;
    return code;
}

std::string EsriPrjOf(const Crs& crs)
{
    const std::unique_ptr<KxC::KxPlugin> plugin(
        KxC::m_gPluginManager.FindPluginByExt("RasterWriterPlugin", ".tif"));
    // Plug-ins of this kind make writers, by the definition of the kind.
    auto* const writer = static_cast<KxC::KxRasterWriter*>(plugin.get());
    if (writer == nullptr || writer->IsAvailable() == 0)
        throw CommandError(kExitFailed,
                           "no plug-in knows the text of a .prj file",
                           "KxGdalWriter.so is missing from the plug-in folder (or from "
                           "$KXTILE_PLUGIN_PATH), or cannot be used; kxtile.log says more.");
    const std::string text = writer->GetEsriPrj(crs.Text().c_str(), crs.Form()).Cstr();
    if (text.empty())
        throw CommandError(
            kExitFailed,
            fmt::format("'{}' has no .prj text: {}", crs.Text(), writer->GetError().Cstr()));
    return text;
}

} // namespace KxTileHost
