// SPDX-License-Identifier: MIT
#include "SourceGrid.h"
#include "forms/Form.h"
#include "serve/Documents.h"
#include "serve/SourceAddress.h"
#include "serve/SourceFiles.h"
#include "serve/SourceState.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <array>
#include <chrono>

namespace KxTileHost::Serve {

namespace {

using Json = nlohmann::ordered_json;

const char* NameOf(Source::Kind kind)
{
    switch (kind) {
    case Source::Kind::History:
        return "history";
    case Source::Kind::Raster:
        return "raster";
    case Source::Kind::Service:
        break;
    }
    return "service";
}

const char* CodeOfDatum(int datum)
{
    constexpr std::array kCodes{"wgs84", "gcj02", "bd09"};
    return datum >= 0 && datum < 3 ? kCodes[static_cast<std::size_t>(datum)] : "wgs84";
}

Json TextOrNull(const std::string& text)
{
    return text.empty() ? Json() : Json(text);
}

/// Where the service's own tiles can lie beside aligned ones: those of another grid cannot.
Json RawAddress(const Source& source)
{
    constexpr int kShiftedMercator = 11;
    const bool comparable = source.m_kind == Source::Kind::Service && source.m_item != nullptr &&
                            (GridOf(source.m_item->m_nTileScheme) == GridKind::WebMercator ||
                             source.m_item->m_nTileScheme == kShiftedMercator);
    return comparable ? Json(fmt::format("/{}/raw/{{z}}/{{x}}/{{y}}", source.m_id)) : Json();
}

Json BoundsOf(const Source& source)
{
    const KxC::KxRect2d& bounds = source.m_bounds;
    return {bounds.m_dLeft, bounds.m_dBottom, bounds.m_dRight, bounds.m_dTop};
}

Json CenterJson(const Source& source)
{
    const auto [longitude, latitude, level] = CenterOf(source);
    return {longitude, latitude, static_cast<int>(level)};
}

/// The file that a source is, without its folder: pages of elsewhere may read the list on loopback,
/// and this machine's folders are no business of theirs.
Json FileNameOf(const Source& source)
{
    return TextOrNull(WithoutFolders(source.m_path));
}

/// Another text for each state of the source, and the same one in a later run of the program: who
/// shows its tiles asks for them anew when it changes.
std::string StateOf(const Source& source)
{
    static const auto kStarted = std::chrono::system_clock::now().time_since_epoch().count();
    // One that has no name for its state is told from all others, earlier runs' too.
    return source.m_outputName.empty() ? fmt::format("{:x}-{}", kStarted, source.m_generation)
                                       : HashOf("state " + source.m_outputName);
}

Json Describe(const Source& source)
{
    const KxC::KxTSDParamItem* const item = source.m_item.get();
    return {{"id", source.m_id},
            {"name", source.m_name},
            {"state", StateOf(source)},
            {"kind", NameOf(source.m_kind)},
            {"file", FileNameOf(source)},
            {"format", ExtensionOf(source.m_format)},
            {"tiles", fmt::format("/{}/{{z}}/{{x}}/{{y}}{}", source.m_id, ListedExtension(source))},
            {"raw", RawAddress(source)},
            {"minzoom", source.m_minLevel},
            {"maxzoom", source.m_maxLevel},
            {"bounds", BoundsOf(source)},
            {"center", CenterJson(source)},
            {"attribution", source.m_attribution},
            {"terms", source.m_terms},
            {"datum", CodeOfDatum(item == nullptr ? 0 : item->m_nDatum)},
            {"scheme", item == nullptr ? kSchemeWebMercator : item->m_nTileScheme},
            {"tile_size", kTileSize},
            {"source_tile_size", item == nullptr ? kTileSize : item->m_nTileSize},
            {"history", source.m_kind == Source::Kind::History},
            {"usable", source.m_isUsable},
            {"error", TextOrNull(source.m_error)}};
}

/// Definitions may hold any bytes: what is no UTF-8 is replaced.
std::string ToText(const Json& json)
{
    return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

} // namespace

std::string WriteSourcesJson(const SourceList& sources, const std::string& version)
{
    Json list = Json::array();
    for (const SourcePtr& source : sources.All())
        list.push_back(Describe(*source));
    return ToText({{"sources", list}, {"version", version}});
}

std::string WriteTileJsonOf(const Source& source, const std::string& base, DayNumber day)
{
    const auto item = AsServedItem(source, base, ExtensionOf(source.m_format), day);
    Json json = Json::parse(WriteTileJson(*item).m_text);
    json["tilejson"] = "3.0.0";
    json["minzoom"] = source.m_minLevel;
    json["maxzoom"] = source.m_maxLevel;
    json["center"] = CenterJson(source);
    return ToText(json);
}

} // namespace KxTileHost::Serve
