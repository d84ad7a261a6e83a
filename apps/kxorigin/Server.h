// SPDX-License-Identifier: MIT
#pragma once

#include "RequestLog.h"
#include "Service.h"

#include <cstdint>
#include <memory>
#include <string>

struct MHD_Daemon;

namespace KxOrigin {

/// The service on a socket, answered by a few threads of its own from construction to destruction.
class Server
{
public:
    /// @param service, log  must outlive the server
    /// @param address       IPv4 address to listen on
    /// @param port          0 lets the system choose
    /// @throws std::runtime_error when the address cannot be listened on
    Server(Service& service, RequestLog& log, const std::string& address, std::uint16_t port);
    ~Server();
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    /// The port that it listens on.
    std::uint16_t Port() const;

    struct State;

private:
    std::unique_ptr<State> m_state;
    MHD_Daemon* m_daemon;
};

} // namespace KxOrigin
