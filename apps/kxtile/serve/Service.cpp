// SPDX-License-Identifier: MIT
#include "serve/Service.h"

#include "serve/Documents.h"
#include "serve/PageAssets.h"
#include "serve/Places.h"
#include "serve/TileAddress.h"
#include "serve/WmtsQuery.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <exception>

namespace KxTileHost::Serve {

namespace {

using Json = nlohmann::ordered_json;

constexpr char kMethods[] = "GET, HEAD, OPTIONS";
/// Lists change with the definitions: they are asked for each time, and the ETag spares sending
/// them.
constexpr char kListControl[] = "no-cache";

Outcome AtOnce(AnswerPtr answer, const char* label)
{
    Outcome outcome;
    outcome.m_answer = std::move(answer);
    outcome.m_label = label;
    return outcome;
}

AnswerPtr RefuseMethod(std::string_view method)
{
    auto answer = TextAnswer(Status::kMethodNotAllowed,
                             fmt::format("{} is not answered here, only {}", method, kMethods));
    answer->m_headers.emplace_back("Allow", kMethods);
    return answer;
}

/// What a browser asks before it lets a page of elsewhere read an answer.
AnswerPtr Preflight()
{
    auto answer = std::make_shared<Answer>();
    answer->m_status = Status::kNoContent;
    answer->m_headers = {{"Allow", kMethods},
                         {"Access-Control-Allow-Methods", kMethods},
                         {"Access-Control-Allow-Headers", "*"},
                         {"Access-Control-Max-Age", "86400"}};
    return answer;
}

AnswerPtr ListAnswer(const char* contentType, std::string text)
{
    return DocumentAnswer(contentType, Body::OfText(std::move(text)), kListControl);
}

AnswerPtr JsonAnswer(const Json& json)
{
    return ListAnswer("application/json", json.dump() + "\n");
}

AnswerPtr NoSuchSource(const std::string& id)
{
    return TextAnswer(Status::kNotFound,
                      fmt::format("there is no source '{}'; /sources.json lists them", id));
}

/// @return null when it can be served
AnswerPtr RefuseUnusable(const Source& source)
{
    if (source.m_isUsable)
        return nullptr;
    return TextAnswer(source.m_isForbidden ? Status::kForbidden : Status::kBadGateway,
                      source.m_error);
}

AnswerPtr WorkDates(const Source& source, const Place& place, int level)
{
    const FoundDays found = FindDays(source, place.m_longitude, place.m_latitude, level);
    if (found.m_outcome == MadeTile::kTooSlow)
        return TextAnswer(Status::kGatewayTimeout, found.m_cause);
    if (found.m_outcome == MadeTile::kFailed)
        return TextAnswer(Status::kBadGateway, found.m_cause);
    return JsonAnswer({{"dates", found.m_days}});
}

} // namespace

Service::Service(const Options& options, const SourceTable& sources)
    : m_options(options), m_sources(sources), m_hosts(options.m_bindAddress, options.m_hosts),
      m_metrics(options.m_version), m_tiles(options.m_tiles, m_metrics)
{
}

Outcome Service::Handle(const HttpRequest& request)
{
    if (request.IsAmbiguous())
        return AtOnce(TextAnswer(Status::kBadRequest,
                                 "the request has two hosts, or two lengths: it may be read in "
                                 "more ways than one"),
                      "other");
    if (!m_hosts.Allows(request.Header("Host"), request.LocalAddress()))
        return AtOnce(TextAnswer(Status::kMisdirected,
                                 "this gateway is not asked for by that name; its owner can add "
                                 "it with --host"),
                      "other");
    if (request.m_method == "OPTIONS")
        return AtOnce(Preflight(), "other");
    if (request.m_method != "GET" && request.m_method != "HEAD")
        return AtOnce(RefuseMethod(request.m_method), "other");
    return Dispatch(request, ParsePath(request.m_path));
}

Outcome Service::Dispatch(const HttpRequest& request, const Route& route)
{
    switch (route.m_kind) {
    case Route::kTile:
    case Route::kRawTile:
        return Tile(request, route);
    case Route::kDates:
        return Dates(request, route);
    case Route::kWmts:
        return WmtsQuery(request);
    case Route::kMalformed:
        return AtOnce(TextAnswer(Status::kBadRequest, route.m_fault), "other");
    case Route::kUnknown:
        return AtOnce(TextAnswer(Status::kNotFound, "there is nothing at this address"), "other");
    case Route::kAsset: {
        AnswerPtr file = FindAsset(route.m_name);
        if (file == nullptr)
            file = TextAnswer(Status::kNotFound, "there is no such file");
        return AtOnce(std::move(file), "page");
    }
    default:
        return AtOnce(Document(request, route), "document");
    }
}

Outcome Service::Tile(const HttpRequest& request, const Route& route)
{
    const char* const label = route.m_kind == Route::kTile ? "tile" : "raw";
    const SourcePtr source = m_sources.Get()->Share(route.m_source);
    if (source == nullptr)
        return AtOnce(NoSuchSource(route.m_source), label);
    if (AnswerPtr refusal = RefuseUnusable(*source))
        return AtOnce(std::move(refusal), label);
    TileRequest tile;
    if (AnswerPtr refusal = CheckTile(*source, route, tile))
        return AtOnce(std::move(refusal), label);
    if (AnswerPtr refusal = CheckDay(*source, request.Query("date"), tile.m_day))
        return AtOnce(std::move(refusal), label);
    if (route.m_kind == Route::kTile)
        return m_tiles.Tile(source, tile);
    if (source->m_kind == Source::Kind::Raster)
        return AtOnce(TextAnswer(Status::kNotFound, "a raster has no tiles of a service"), label);
    return m_tiles.RawTile(source, tile);
}

Outcome Service::Dates(const HttpRequest& request, const Route& route)
{
    const SourcePtr source = m_sources.Get()->Share(route.m_source);
    if (source == nullptr)
        return AtOnce(NoSuchSource(route.m_source), "document");
    if (AnswerPtr refusal = RefuseUnusable(*source))
        return AtOnce(std::move(refusal), "document");
    if (source->m_kind != Source::Kind::History)
        return AtOnce(TextAnswer(Status::kNotFound, "only history imagery has dates"), "document");
    const auto place = ReadPlace(request.Query("at"));
    const auto level = ReadLevel(request.Query("zoom"));
    if (!place || !level)
        return AtOnce(TextAnswer(Status::kBadRequest,
                                 "write ?at=LON,LAT&zoom=LEVEL, degrees and a level of 0 to 30"),
                      "document");
    Outcome outcome;
    outcome.m_label = "document";
    outcome.m_key = fmt::format(
        "dates/{}/{}/{}/{}", source->m_generation, place->m_longitude, place->m_latitude, *level);
    outcome.m_lane = source->m_id;
    outcome.m_work = [source, place = *place, level = *level] {
        return WorkDates(*source, place, level);
    };
    return outcome;
}

Outcome Service::WmtsQuery(const HttpRequest& request)
{
    const Route route = ReadWmtsQuery(request);
    if (route.m_kind == Route::kWmts)
        return AtOnce(
            ListAnswer("application/xml", WriteWmtsCapabilities(*m_sources.Get(), BaseOf(request))),
            "document");
    Outcome outcome = Dispatch(request, route);
    outcome.m_dress = AsExceptionReport;
    return outcome;
}

AnswerPtr Service::Document(const HttpRequest& request, const Route& route)
{
    const std::shared_ptr<const SourceList> sources = m_sources.Get();
    switch (route.m_kind) {
    case Route::kHealth:
        return Health();
    case Route::kMetrics:
        return ReportMetrics();
    case Route::kLocate:
        return Locate(request);
    case Route::kSources:
        return ListAnswer("application/json", WriteSourcesJson(*sources, m_options.m_version));
    case Route::kQgis:
        return ListAnswer("application/xml", WriteQgisList(*sources, BaseOf(request)));
    case Route::kTmsService:
        return ListAnswer("application/xml", WriteTmsService(*sources, BaseOf(request)));
    default:
        break;
    }
    const Source* const source = sources->Find(route.m_source);
    if (source == nullptr)
        return NoSuchSource(route.m_source);
    if (AnswerPtr refusal = RefuseUnusable(*source))
        return refusal;
    if (route.m_kind == Route::kTmsMap)
        return ListAnswer("application/xml", WriteTmsMap(*source, BaseOf(request)));
    DayNumber day = 0;
    if (AnswerPtr refusal = CheckDay(*source, request.Query("date"), day))
        return refusal;
    if (route.m_kind == Route::kTileJson)
        return ListAnswer("application/json", WriteTileJsonOf(*source, BaseOf(request), day));
    return ListAnswer("application/xml", WriteGdalXmlOf(*source, BaseOf(request), day));
}

AnswerPtr Service::Locate(const HttpRequest& request) const
{
    const auto place = ReadPlace(request.Query("at"));
    if (!place)
        return TextAnswer(Status::kBadRequest, "write ?at=LON,LAT in degrees of WGS 84");
    const auto pair = [](const Place& at) { return Json{at.m_longitude, at.m_latitude}; };
    return JsonAnswer({{"wgs84", pair(*place)},
                       {"gcj02", pair(OnDatum(*place, KxC::KxDatum_GCJ02))},
                       {"bd09", pair(OnDatum(*place, KxC::KxDatum_BD09))}});
}

AnswerPtr Service::Health() const
{
    const Metrics::Levels levels = m_levels ? m_levels() : Metrics::Levels{};
    auto answer = std::make_shared<Answer>();
    answer->m_contentType = "application/json";
    answer->m_cacheControl = "no-store";
    const Json json{{"status", "ok"},
                    {"version", m_options.m_version},
                    {"sources", levels.m_sources},
                    {"broken_sources", levels.m_brokenSources},
                    {"connections", levels.m_connections},
                    {"work_waiting", levels.m_waitingWork},
                    {"work_running", levels.m_runningWork}};
    answer->m_body = Body::OfText(json.dump() + "\n");
    return answer;
}

AnswerPtr Service::ReportMetrics()
{
    Metrics::Levels levels = m_levels ? m_levels() : Metrics::Levels{};
    levels.m_outputBytes = m_tiles.KeptBytes();
    levels.m_outputTiles = m_tiles.KeptTiles();
    auto answer = std::make_shared<Answer>();
    answer->m_contentType = "text/plain; version=0.0.4; charset=utf-8";
    answer->m_cacheControl = "no-store";
    answer->m_body = Body::OfText(m_metrics.ToText(levels));
    return answer;
}

std::string Service::BaseOf(const HttpRequest& request) const
{
    if (!m_options.m_publicUrl.empty())
        return m_options.m_publicUrl;
    const char* const host = request.Header("Host");
    return "http://" + (host != nullptr && IsPlainHost(host) ? host : request.LocalHost());
}

void Service::NoteDone(const char* label, int status, const Answer*, double seconds) noexcept
try {
    m_metrics.NoteRequest(label, status, seconds);
} catch (const std::exception&) {
    return; // a count that memory does not suffice for is lost
}

} // namespace KxTileHost::Serve
