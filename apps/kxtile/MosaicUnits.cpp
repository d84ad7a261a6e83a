// SPDX-License-Identifier: MIT
#include "MosaicUnits.h"

#include "Command.h"
#include "KxMath.h"

#include <fmt/format.h>

#include <array>
#include <charconv>
#include <cmath>
#include <numbers>
#include <optional>
#include <regex>
#include <sstream>
#include <string_view>
#include <utility>

namespace KxTileHost {

namespace {

/// Metres of a degree on the equator of the sphere that the plate carrée below is of.
constexpr double kMetresPerDegree = KxC::KxMath::kSphereRadius * std::numbers::pi / 180;
/// Longitude and latitude as metres.
constexpr char kPlateCarree[] = "+proj=eqc +R=6378137";
/// Degrees: how far the twin's places may be off. One millimetre.
constexpr double kTolerance = 1e-8;

/// A system in metres, and how many of them a unit of its twin has. Without text where it could not
/// be told.
struct Twin
{
    std::string m_text;
    double m_metresPerUnit = 1.0;
};

[[noreturn]] void ThrowNotMetric(const Crs& crs)
{
    throw CommandError(kExitFailed,
                       fmt::format("'{}' is not in metres", crs.Text()),
                       "Ask for the picture in the same projection in metres; bounds and "
                       "resolution are then in metres, too.");
}

std::optional<double> ReadFactor(std::string_view text)
{
    double factor = 0;
    const char* const end = text.data() + text.size();
    const auto read = std::from_chars(text.data(), end, factor);
    const bool good = read.ec == std::errc() && read.ptr == end && factor > 0;
    return good && std::isfinite(factor) ? std::optional(factor) : std::nullopt;
}

/// Metres of a unit by PROJ's name of it.
std::optional<double> MetresOfUnit(std::string_view name)
{
    static constexpr std::array<std::pair<std::string_view, double>, 6> kUnits{
        {{"m", 1.0},
         {"km", 1000.0},
         {"ft", 0.3048},
         {"us-ft", 1200.0 / 3937.0},
         {"yd", 0.9144},
         {"us-yd", 3600.0 / 3937.0}}};
    for (const auto& [unit, metres] : kUnits)
        if (unit == name)
            return metres;
    return std::nullopt;
}

/// PROJ strings have all their lengths in metres but for the points' own units.
std::optional<Twin> TwinOfProjString(const std::string& text)
{
    constexpr std::string_view kUnits("+units=");
    constexpr std::string_view kToMeter("+to_meter=");
    Twin twin;
    bool told = true;
    std::istringstream words(text);
    for (std::string word; words >> word;) {
        std::optional<double> metres;
        if (word.starts_with(kUnits))
            metres = MetresOfUnit(std::string_view(word).substr(kUnits.size()));
        else if (word.starts_with(kToMeter))
            metres = ReadFactor(std::string_view(word).substr(kToMeter.size()));
        else {
            twin.m_text += word + ' ';
            continue;
        }
        told = told && metres.has_value();
        twin.m_metresPerUnit = metres.value_or(1.0);
    }
    twin.m_text += "+units=m";
    return told ? std::optional(twin) : std::nullopt;
}

/// Multiplies the numbers of the parameters that are lengths.
std::string ScaleLengths(const std::string& prj, double factor)
{
    static const std::regex kLengths(R"re((PARAMETER\["False_(?:East|North)ing",)([^\]]+)(\]))re",
                                     std::regex::icase);
    std::string scaled;
    auto rest = prj.cbegin();
    for (std::sregex_iterator it(prj.cbegin(), prj.cend(), kLengths), end; it != end; ++it) {
        scaled.append(rest, (*it)[0].first);
        scaled +=
            (*it)[1].str() + fmt::format("{}", std::stod((*it)[2].str()) * factor) + (*it)[3].str();
        rest = (*it)[0].second;
    }
    return scaled.append(rest, prj.cend());
}

/// @param prj  of a .prj file; the last unit in it is that of the points
std::optional<Twin> TwinOfPrj(const std::string& prj)
{
    const std::size_t unit = prj.rfind("UNIT[\"");
    const std::size_t comma = unit == std::string::npos ? unit : prj.find("\",", unit);
    const std::size_t close = comma == std::string::npos ? comma : prj.find(']', comma);
    if (close == std::string::npos)
        return std::nullopt;
    const auto metres = ReadFactor(std::string_view(prj).substr(comma + 2, close - comma - 2));
    if (!metres)
        return std::nullopt;
    const std::string metric = prj.substr(0, unit) + "UNIT[\"Meter\",1.0" + prj.substr(close);
    return Twin{ScaleLengths(metric, *metres), *metres};
}

/// @return nothing where the units could not be told
std::optional<Twin> TwinOf(const Crs& crs)
{
    if (crs.Form() == KxC::ProjectStringType_Proj4)
        return TwinOfProjString(crs.Text());
    std::string prj;
    try {
        prj = EsriPrjOf(crs);
    } catch (const CommandError&) {
        // Without the plug-in that knows, or without such a text: most systems are in metres.
        return Twin{};
    }
    return TwinOfPrj(prj);
}

/// Whether the twin has the places of the system, at the corners and in the middle.
bool HasSamePlaces(const Crs& crs, const Twin& twin, const KxC::KxRect2d& bounds)
{
    const Crs metric(twin.m_text);
    for (const double across : {0.0, 0.5, 1.0})
        for (const double up : {0.0, 0.5, 1.0}) {
            const double x = bounds.m_dLeft + bounds.Width() * across;
            const double y = bounds.m_dBottom + bounds.Height() * up;
            const auto is = metric.ToDegrees(x * twin.m_metresPerUnit, y * twin.m_metresPerUnit);
            const auto wanted = crs.ToDegrees(x, y);
            if (is.has_value() != wanted.has_value() ||
                (is && std::hypot(is->x - wanted->x, is->y - wanted->y) > kTolerance))
                return false;
        }
    return true;
}

std::string NameOf(double metresPerUnit)
{
    constexpr double kFoot = 0.3048;
    return std::abs(metresPerUnit / kFoot - 1) < 1e-4 ? "feet" : "units";
}

} // namespace

MetricSystem InMetres(const Crs& crs, const KxC::KxRect2d& bounds)
{
    if (crs.IsInDegrees())
        return {kPlateCarree, KxC::ProjectStringType_Proj4, kMetresPerDegree, "degrees"};
    const auto twin = TwinOf(crs);
    if (!twin)
        ThrowNotMetric(crs);
    if (twin->m_metresPerUnit == 1.0)
        return {crs.Text(), crs.Form(), 1.0, "metres"};
    if (!HasSamePlaces(crs, *twin, bounds))
        ThrowNotMetric(crs);
    return {twin->m_text,
            Crs(twin->m_text).Form(),
            twin->m_metresPerUnit,
            NameOf(twin->m_metresPerUnit)};
}

} // namespace KxTileHost
