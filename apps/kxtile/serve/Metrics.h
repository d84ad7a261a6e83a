// SPDX-License-Identifier: MIT
#pragma once

#include "serve/Answer.h"
#include "serve/TileMaker.h"

#include <cstddef>
#include <memory>
#include <string>

namespace KxTileHost::Serve {

/// What is counted, as Prometheus reads it. Any thread.
class Metrics
{
public:
    explicit Metrics(const std::string& version);
    ~Metrics();
    Metrics(const Metrics&) = delete;
    Metrics& operator=(const Metrics&) = delete;

    /// @param what  "tile", "raw", "document" and so on
    /// @param status  0 when the connection was gone before there was an answer
    void NoteRequest(const char* what, int status, double seconds);
    /// @param cacheState  as in X-Cache
    void NoteTile(const std::string& cacheState);
    void NoteUpstream(const std::string& source, MadeTile::Outcome outcome);

    struct Levels
    {
        std::size_t m_inFlight = 0;
        std::size_t m_connections = 0;
        std::size_t m_waitingWork = 0;
        std::size_t m_runningWork = 0;
        std::size_t m_outputBytes = 0;
        std::size_t m_outputTiles = 0;
        std::size_t m_sourceBytes = 0;
        std::size_t m_sources = 0;
        std::size_t m_brokenSources = 0;
    };
    /// Everything in Prometheus' text form.
    std::string ToText(const Levels& levels);

private:
    struct Families;
    std::unique_ptr<Families> m_families;
};

} // namespace KxTileHost::Serve
