// SPDX-License-Identifier: MIT
#include "serve/HttpServer.h"

#include "Command.h"
#include "serve/Exchange.h"
#include "serve/HttpAddress.h"
#include "serve/HttpState.h"
#include "serve/MhdRequest.h"

#include <fmt/format.h>
#include <microhttpd.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <new>
#include <system_error>
#include <vector>

namespace KxTileHost::Serve {

namespace {

using Clock = std::chrono::steady_clock;

/// Bytes for the head of a request on each connection. More is refused.
constexpr std::size_t kHeadBytes = std::size_t{24} << 10;
/// Connections beyond the limit while the idle ones that make room for them are being closed.
constexpr unsigned int kSlack = 256;
constexpr unsigned int kBacklog = 1024;
/// At the end: as long as no request comes, for a client that has just had an answer sends another.
constexpr std::chrono::milliseconds kQuiet{100};

/// The connection's entry; null when there was no memory for one.
Connections::Handle* HandleOf(MHD_Connection* connection)
{
    const MHD_ConnectionInfo* const info =
        MHD_get_connection_info(connection, MHD_CONNECTION_INFO_SOCKET_CONTEXT);
    return info == nullptr ? nullptr : static_cast<Connections::Handle*>(info->socket_context);
}

void DrainWakes(const HttpServer::State& state)
{
    std::uint64_t wakes = 0;
    static_cast<void>(!::read(state.wake, &wakes, sizeof(wakes)));
}

// Every function below is called by C code, so nothing may be thrown out of it.

/// Keeps paths and queries as they came: an encoded slash must not become a separator.
std::size_t LeaveEncoded(void*, MHD_Connection*, char* text)
{
    return std::strlen(text);
}

void OnConnection(void* state,
                  MHD_Connection* connection,
                  void** context,
                  MHD_ConnectionNotificationCode code) noexcept
{
    Connections& connections = static_cast<HttpServer::State*>(state)->connections;
    auto* const handle = static_cast<Connections::Handle*>(*context);
    if (code == MHD_CONNECTION_NOTIFY_CLOSED) {
        if (handle != nullptr)
            connections.Close(*handle);
        delete handle;
        return;
    }
    try {
        *context = new Connections::Handle(connections.Open(SocketOf(connection), Clock::now()));
    } catch (const std::bad_alloc&) {
        *context = nullptr;
    }
}

void OnCompleted(void* state,
                 MHD_Connection* connection,
                 void** context,
                 MHD_RequestTerminationCode) noexcept
{
    if (*context == nullptr)
        return;
    delete static_cast<Exchange*>(*context);
    *context = nullptr;
    if (const Connections::Handle* const handle = HandleOf(connection))
        static_cast<HttpServer::State*>(state)->connections.End(*handle, Clock::now());
}

/// Uploads are of no use here: whoever sends one is answered before it, and cut.
bool MayHaveNoBody(const char* method)
{
    return std::strcmp(method, "GET") == 0 || std::strcmp(method, "HEAD") == 0 ||
           std::strcmp(method, "OPTIONS") == 0;
}

MHD_Result OnRequest(void* opaque,
                     MHD_Connection* connection,
                     const char* path,
                     const char* method,
                     const char*,
                     const char*,
                     std::size_t* uploadSize,
                     void** context) noexcept
try {
    auto& state = *static_cast<HttpServer::State*>(opaque);
    if (*context == nullptr) {
        *context = new Exchange(state, connection);
        if (const Connections::Handle* const handle = HandleOf(connection))
            state.connections.Begin(*handle, Clock::now());
        // An answer in the first call costs the connection, which ambiguous requests deserve.
        if (MayHaveNoBody(method) && !MhdRequest(connection, method, path).IsAmbiguous())
            return MHD_YES;
    } else if (*uploadSize != 0) {
        *uploadSize = 0;
        return MHD_YES;
    }
    return static_cast<Exchange*>(*context)->Proceed(MhdRequest(connection, method, path));
} catch (const std::exception&) {
    return MHD_NO;
}

MHD_Daemon* Start(HttpServer::State& state)
{
    const HttpOptions& options = state.options;
    sockaddr_storage address{};
    FillAddress(address, options.m_address, options.m_port);
    unsigned int flags = MHD_USE_EPOLL | MHD_ALLOW_SUSPEND_RESUME | MHD_USE_ITC;
    if (address.ss_family == AF_INET6)
        flags |= MHD_USE_IPv6;
    const auto connections = static_cast<unsigned int>(options.m_connections.m_count) + kSlack;
    std::vector<MHD_OptionItem> items{
        {MHD_OPTION_CONNECTION_LIMIT, static_cast<intptr_t>(connections), nullptr},
        {MHD_OPTION_CONNECTION_TIMEOUT,
         static_cast<intptr_t>(options.m_connections.m_idle.count()),
         nullptr},
        {MHD_OPTION_CONNECTION_MEMORY_LIMIT, static_cast<intptr_t>(kHeadBytes), nullptr},
        {MHD_OPTION_LISTEN_BACKLOG_SIZE, static_cast<intptr_t>(kBacklog), nullptr},
        {MHD_OPTION_SIGPIPE_HANDLED_BY_APP, 1, nullptr},
    };
    items.push_back({MHD_OPTION_END, 0, nullptr});
    return MHD_start_daemon(flags,
                            options.m_port,
                            nullptr,
                            nullptr,
                            &OnRequest,
                            &state,
                            MHD_OPTION_SOCK_ADDR,
                            &address,
                            MHD_OPTION_UNESCAPE_CALLBACK,
                            &LeaveEncoded,
                            nullptr,
                            MHD_OPTION_NOTIFY_COMPLETED,
                            &OnCompleted,
                            &state,
                            MHD_OPTION_NOTIFY_CONNECTION,
                            &OnConnection,
                            &state,
                            MHD_OPTION_ARRAY,
                            items.data(),
                            MHD_OPTION_END);
}

/// Reads and writes all connections. The library's own loop would do so but for one flaw: when 128
/// connections at once have something to read, it waits for yet another before it reads any.
void RunLoop(HttpServer::State& state)
{
    constexpr unsigned long long kLongestMs = 1000;
    const MHD_DaemonInfo* const info = MHD_get_daemon_info(state.daemon, MHD_DAEMON_INFO_EPOLL_FD);
    std::array<pollfd, 2> events{{{info->epoll_fd, POLLIN, 0}, {state.wake, POLLIN, 0}}};
    bool listens = true;
    while (state.loops) {
        MHD_UNSIGNED_LONG_LONG wait = kLongestMs;
        if (MHD_get_timeout(state.daemon, &wait) == MHD_NO || wait > kLongestMs)
            wait = kLongestMs;
        if (wait > 0)
            ::poll(events.data(), events.size(), static_cast<int>(wait));
        if (events[1].revents != 0)
            DrainWakes(state);
        if (listens && !state.listens) {
            listens = false;
            const MHD_socket socket = MHD_quiesce_daemon(state.daemon);
            if (socket != MHD_INVALID_SOCKET)
                ::close(socket);
        }
        MHD_run(state.daemon);
    }
}

void CutLateOnes(HttpServer::State& state)
{
    std::unique_lock guard(state.lock);
    while (!state.changed.wait_for(guard, std::chrono::seconds(1), [&] { return state.ends; })) {
        guard.unlock();
        state.connections.CutLate(Clock::now());
        guard.lock();
    }
}

} // namespace

void Wake(const HttpServer::State& state)
{
    const std::uint64_t one = 1;
    static_cast<void>(!::write(state.wake, &one, sizeof(one))); // full: it wakes anyhow
}

HttpServer::HttpServer(const HttpOptions& options, RequestHandler& handler, WorkPool& pool)
    : m_state(new State{options, handler, pool, Connections(options.m_connections)})
{
    m_state->daemon = Start(*m_state);
    if (m_state->daemon == nullptr)
        throw CommandError(kExitFailed,
                           fmt::format("cannot listen on {} port {}: {}",
                                       options.m_address,
                                       options.m_port,
                                       std::generic_category().message(errno)),
                           "Choose another port with --port; 0 lets the system choose.");
    m_port = MHD_get_daemon_info(m_state->daemon, MHD_DAEMON_INFO_BIND_PORT)->port;
    m_state->loop = std::thread([this] { RunLoop(*m_state); });
    m_state->watch = std::thread([this] { CutLateOnes(*m_state); });
}

HttpServer::~HttpServer()
{
    {
        const std::lock_guard guard(m_state->lock);
        m_state->ends = true;
        m_state->changed.notify_all();
    }
    m_state->watch.join();
    m_state->loops = false;
    Wake(*m_state);
    m_state->loop.join();
    MHD_stop_daemon(m_state->daemon);
    ::close(m_state->wake);
}

std::uint16_t HttpServer::Port() const
{
    return m_port;
}

std::size_t HttpServer::ConnectionCount() const
{
    return m_state->connections.Count();
}

std::size_t HttpServer::InFlight() const
{
    const std::lock_guard guard(m_state->lock);
    return m_state->inFlight;
}

void HttpServer::StopListening()
{
    m_state->listens = false;
    Wake(*m_state);
}

bool HttpServer::WaitForRequests(std::chrono::steady_clock::time_point deadline)
{
    State& state = *m_state;
    std::unique_lock guard(state.lock);
    while (state.changed.wait_until(guard, deadline, [&] { return state.inFlight == 0; })) {
        const std::size_t begun = state.begun;
        const auto quiet = std::min(deadline, Clock::now() + kQuiet);
        const auto hasMore = [&] { return state.begun != begun; };
        if (state.connections.Count() == 0)
            return true;
        if (state.changed.wait_until(guard, quiet, hasMore))
            continue;
        if (!state.connections.HasUnread())
            return true;
        if (Clock::now() >= deadline)
            return false;
    }
    return false;
}

} // namespace KxTileHost::Serve
