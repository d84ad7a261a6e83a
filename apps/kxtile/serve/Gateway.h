// SPDX-License-Identifier: MIT
#pragma once

#include "serve/HttpServer.h"
#include "serve/Service.h"
#include "serve/SourceFinder.h"
#include "serve/WorkPool.h"

#include <string>
#include <vector>

namespace KxTileHost::Serve {

struct GatewayOptions
{
    std::vector<std::string> m_sources; ///< as named; none for the ones that come along
    MissingRules m_missing;
    bool m_watch = false;
    bool m_json = false;
    HttpOptions m_http;
    Service::Options m_service;
    WorkPool::Limits m_work;

    /// Sets how long a request may take: longer than a service may, so that its lateness is told
    /// of by the request layer, which can say more of it, and less than its connection may.
    /// @param timeoutMs  of a service, milliseconds; 0 for the library's own
    void WaitForServices(int timeoutMs);
};

/// Serves until SIGTERM or SIGINT, then ends what is under way. To be called while the program has
/// one thread.
/// @throws CommandError when there is nothing to serve, or nowhere to
void RunGateway(const GatewayOptions& options);

} // namespace KxTileHost::Serve
