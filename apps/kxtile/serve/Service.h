// SPDX-License-Identifier: MIT
#pragma once

#include "serve/HostRule.h"
#include "serve/HttpRequest.h"
#include "serve/Metrics.h"
#include "serve/Route.h"
#include "serve/SourceTable.h"
#include "serve/TileService.h"

#include <functional>
#include <string>
#include <vector>

namespace KxTileHost::Serve {

/// Answers every address of the gateway. Any thread.
class Service : public RequestHandler
{
public:
    struct Options
    {
        std::string m_version;
        std::string m_bindAddress;
        std::vector<std::string> m_hosts; ///< answered besides this machine's own
        std::string m_publicUrl;          ///< of addresses in documents; empty: as asked for
        TileService::Options m_tiles;
    };

    /// @param sources  must outlive the service
    Service(const Options& options, const SourceTable& sources);

    Outcome Handle(const HttpRequest& request) override;
    void
    NoteDone(const char* label, int status, const Answer* answer, double seconds) noexcept override;

    /// What the service cannot know itself: requests, connections, work.
    void SetLevels(std::function<Metrics::Levels()> levels) { m_levels = std::move(levels); }

private:
    Outcome Dispatch(const HttpRequest& request, const Route& route);
    Outcome Tile(const HttpRequest& request, const Route& route);
    Outcome Dates(const HttpRequest& request, const Route& route);
    Outcome WmtsQuery(const HttpRequest& request);
    AnswerPtr Locate(const HttpRequest& request) const;
    AnswerPtr Health() const;
    AnswerPtr ReportMetrics();
    AnswerPtr Document(const HttpRequest& request, const Route& route);
    std::string BaseOf(const HttpRequest& request) const;

    const Options m_options;
    const SourceTable& m_sources;
    const HostRule m_hosts;
    Metrics m_metrics;
    TileService m_tiles;
    std::function<Metrics::Levels()> m_levels;
};

} // namespace KxTileHost::Serve
