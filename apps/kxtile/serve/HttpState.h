// SPDX-License-Identifier: MIT
/// What the parts of the HTTP server share.
#pragma once

#include "serve/HttpServer.h"

#include <sys/eventfd.h>

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <thread>

struct MHD_Daemon;

namespace KxTileHost::Serve {

struct HttpServer::State
{
    HttpOptions options;
    RequestHandler& handler;
    WorkPool& pool;
    Connections connections;
    MHD_Daemon* daemon = nullptr;

    std::mutex lock{};
    std::condition_variable changed{};
    std::size_t inFlight = 0;
    std::size_t begun = 0; ///< requests, ever
    bool ends = false;
    std::atomic<bool> loops{true};
    std::atomic<bool> listens{true};
    std::thread watch{};
    std::thread loop{};
    int wake = ::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC); ///< ends the loop's wait
};

/// Ends the event loop's wait.
void Wake(const HttpServer::State& state);

} // namespace KxTileHost::Serve
