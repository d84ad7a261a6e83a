// SPDX-License-Identifier: MIT
#pragma once

#include "serve/Connections.h"
#include "serve/HttpRequest.h"
#include "serve/WorkPool.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace KxTileHost::Serve {

struct HttpOptions
{
    std::string m_address = "127.0.0.1"; ///< IPv4 or IPv6
    std::uint16_t m_port = 0;            ///< 0 lets the system choose
    std::string m_serverName;
    Connections::Limits m_connections;
};

/// HTTP on a socket. Answers that are at hand go out from the event loop; the work for the others
/// is given to the pool, and their connections wait without a thread.
class HttpServer
{
public:
    /// @param handler, pool  must outlive the server
    /// @throws CommandError when the address cannot be listened on
    HttpServer(const HttpOptions& options, RequestHandler& handler, WorkPool& pool);
    /// Every waiting request must have been answered.
    ~HttpServer();
    HttpServer(const HttpServer&) = delete;
    HttpServer& operator=(const HttpServer&) = delete;

    std::uint16_t Port() const;
    std::size_t ConnectionCount() const;
    std::size_t InFlight() const;

    /// No new connection from now on, and each that there is has one more answer.
    void StopListening();
    /// Waits until no request is under way, and none has come for a moment.
    /// @return false when some were at the deadline
    bool WaitForRequests(std::chrono::steady_clock::time_point deadline);

    struct State;

private:
    std::unique_ptr<State> m_state;
    std::uint16_t m_port = 0;
};

} // namespace KxTileHost::Serve
