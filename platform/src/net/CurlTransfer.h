// SPDX-License-Identifier: MIT
#pragma once

#include "CaFile.h"
#include "HttpClient.h"

#include <utility>

namespace KxC::Http {

/// One request by libcurl over the calling thread's kept connections, redirects followed; its own
/// header lines go to no other host or port than it was meant for. Any thread.
class CurlTransfer final : public HttpClient
{
public:
    /// For how long an answer that has begun may stay below the floor on speed, at the least.
    /// Until it begins only the total time-out counts: a service may render while we wait.
    static constexpr std::chrono::seconds kShortestStall{15};

    explicit CurlTransfer(const Clock& clock, std::chrono::seconds shortestStall = kShortestStall)
        : m_clock(clock), m_shortestStall(shortestStall)
    {
    }
    HttpAnswer Send(const HttpRequest& request) override;
    /// @param path  empty leaves the choice to the environment and the system
    void SetCaFile(std::string path) { m_caFile.Set(std::move(path)); }

private:
    const Clock& m_clock;
    std::chrono::seconds m_shortestStall;
    CaFile m_caFile;
};

} // namespace KxC::Http
