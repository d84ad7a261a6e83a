// SPDX-License-Identifier: MIT
#include "serve/Metrics.h"

#include <prometheus/counter.h>
#include <prometheus/gauge.h>
#include <prometheus/histogram.h>
#include <prometheus/registry.h>
#include <prometheus/text_serializer.h>

#include <array>
#include <string_view>

namespace KxTileHost::Serve {

namespace {

using prometheus::Counter;
using prometheus::Family;
using prometheus::Gauge;
using prometheus::Histogram;

/// Seconds; from a tile at hand to a service's time-out.
const Histogram::BucketBoundaries kBuckets{
    0.0005, 0.001, 0.0025, 0.005, 0.01, 0.025, 0.05, 0.1, 0.25, 0.5, 1, 2.5, 5, 10, 30};

constexpr std::array<std::string_view, 5> kLabels{"tile", "raw", "document", "page", "other"};
constexpr std::array<const char*, 4> kCacheStates{"memory", "disk", "output", "upstream"};

const char* NameOf(MadeTile::Outcome outcome)
{
    switch (outcome) {
    case MadeTile::kTile:
        return "tile";
    case MadeTile::kNoTile:
        return "no_tile";
    case MadeTile::kTooSlow:
        return "too_slow";
    case MadeTile::kFailed:
        break;
    }
    return "failed";
}

} // namespace

struct Metrics::Families
{
    /// What is counted with each request, found without a search.
    struct OfRequest
    {
        Histogram* m_seconds;
        Counter* m_ok;
    };

    Gauge& AddGauge(const char* name, const char* help)
    {
        return prometheus::BuildGauge().Name(name).Help(help).Register(m_registry).Add({});
    }

    prometheus::Registry m_registry;
    Family<Counter>& m_requests = prometheus::BuildCounter()
                                      .Name("kxtile_requests_total")
                                      .Help("Requests, by what was asked for and HTTP status")
                                      .Register(m_registry);
    Family<Histogram>& m_seconds = prometheus::BuildHistogram()
                                       .Name("kxtile_request_duration_seconds")
                                       .Help("From a request's headers to the end of its answer")
                                       .Register(m_registry);
    Family<Counter>& m_tiles = prometheus::BuildCounter()
                                   .Name("kxtile_tiles_total")
                                   .Help("Tiles answered, by the cache that they came from")
                                   .Register(m_registry);
    Family<Counter>& m_upstream = prometheus::BuildCounter()
                                      .Name("kxtile_upstream_results_total")
                                      .Help("What services and rasters answered, by source")
                                      .Register(m_registry);
    std::array<OfRequest, kLabels.size()> m_byLabel{};
    std::array<Counter*, kCacheStates.size()> m_byState{};
    Gauge& m_inFlight = AddGauge("kxtile_requests_in_flight", "Requests under way");
    Gauge& m_connections = AddGauge("kxtile_connections", "Open connections");
    Gauge& m_waiting = AddGauge("kxtile_work_waiting", "Tiles that wait for a worker");
    Gauge& m_running = AddGauge("kxtile_work_running", "Tiles that are being made");
    Gauge& m_outputBytes = AddGauge("kxtile_output_cache_bytes", "Encoded tiles in memory, bytes");
    Gauge& m_outputTiles = AddGauge("kxtile_output_cache_tiles", "Encoded tiles in memory");
    Gauge& m_sourceBytes = AddGauge("kxtile_source_cache_bytes", "Decoded tiles in memory, bytes");
    Gauge& m_sources = AddGauge("kxtile_sources", "Sources that are served");
    Gauge& m_broken = AddGauge("kxtile_sources_broken", "Sources whose definition is broken");
};

Metrics::Metrics(const std::string& version) : m_families(std::make_unique<Families>())
{
    Families& families = *m_families;
    for (std::size_t i = 0; i < kLabels.size(); ++i) {
        const std::string label(kLabels[i]);
        families.m_byLabel[i] = {&families.m_seconds.Add({{"what", label}}, kBuckets),
                                 &families.m_requests.Add({{"what", label}, {"status", "200"}})};
    }
    for (std::size_t i = 0; i < kCacheStates.size(); ++i)
        families.m_byState[i] = &families.m_tiles.Add({{"cache", kCacheStates[i]}});
    prometheus::BuildGauge()
        .Name("kxtile_info")
        .Help("The program's version")
        .Register(families.m_registry)
        .Add({{"version", version}})
        .Set(1);
}

Metrics::~Metrics() = default;

void Metrics::NoteRequest(const char* what, int status, double seconds)
{
    std::size_t label = kLabels.size() - 1;
    for (std::size_t i = 0; i < kLabels.size(); ++i)
        if (kLabels[i] == what)
            label = i;
    const Families::OfRequest& counted = m_families->m_byLabel[label];
    counted.m_seconds->Observe(seconds);
    if (status == Status::kOk)
        counted.m_ok->Increment();
    else
        m_families->m_requests
            .Add({{"what", std::string(kLabels[label])}, {"status", std::to_string(status)}})
            .Increment();
}

void Metrics::NoteTile(const std::string& cacheState)
{
    for (std::size_t i = 0; i < kCacheStates.size(); ++i)
        if (cacheState == kCacheStates[i])
            m_families->m_byState[i]->Increment();
}

void Metrics::NoteUpstream(const std::string& source, MadeTile::Outcome outcome)
{
    m_families->m_upstream.Add({{"source", source}, {"result", NameOf(outcome)}}).Increment();
}

std::string Metrics::ToText(const Levels& levels)
{
    Families& families = *m_families;
    const auto set = [](Gauge& gauge, std::size_t value) { gauge.Set(static_cast<double>(value)); };
    set(families.m_inFlight, levels.m_inFlight);
    set(families.m_connections, levels.m_connections);
    set(families.m_waiting, levels.m_waitingWork);
    set(families.m_running, levels.m_runningWork);
    set(families.m_outputBytes, levels.m_outputBytes);
    set(families.m_outputTiles, levels.m_outputTiles);
    set(families.m_sourceBytes, levels.m_sourceBytes);
    set(families.m_sources, levels.m_sources);
    set(families.m_broken, levels.m_brokenSources);
    return prometheus::TextSerializer().Serialize(families.m_registry.Collect());
}

} // namespace KxTileHost::Serve
