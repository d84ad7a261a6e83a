// SPDX-License-Identifier: MIT
#include "serve/HttpServer.h"

#include "Command.h"
#include "serve/Responses.h"
#include "serve/Route.h"

#include <arpa/inet.h>
#include <fmt/format.h>
#include <microhttpd.h>
#include <netinet/in.h>
#include <poll.h>
#include <strings.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <condition_variable>
#include <cstring>
#include <mutex>
#include <new>
#include <system_error>
#include <thread>
#include <vector>

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

namespace {

using Clock = std::chrono::steady_clock;

/// Bytes for the head of a request on each connection. More is refused.
constexpr std::size_t kHeadBytes = std::size_t{24} << 10;
/// Connections beyond the limit while the idle ones that make room for them are being closed.
constexpr unsigned int kSlack = 256;
constexpr unsigned int kBacklog = 1024;
/// At the end: as long as no request comes, for a client that has just had an answer sends another.
constexpr std::chrono::milliseconds kQuiet{100};

int SocketOf(MHD_Connection* connection)
{
    const MHD_ConnectionInfo* const info =
        MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CONNECTION_FD);
    return info == nullptr ? -1 : info->connect_fd;
}

/// The connection's entry; null when there was no memory for one.
Connections::Handle* HandleOf(MHD_Connection* connection)
{
    const MHD_ConnectionInfo* const info =
        MHD_get_connection_info(connection, MHD_CONNECTION_INFO_SOCKET_CONTEXT);
    return info == nullptr ? nullptr : static_cast<Connections::Handle*>(info->socket_context);
}

std::string TextOf(const sockaddr_storage& address)
{
    std::array<char, INET6_ADDRSTRLEN> text{};
    const void* const from =
        address.ss_family == AF_INET6
            ? static_cast<const void*>(&reinterpret_cast<const sockaddr_in6&>(address).sin6_addr)
            : &reinterpret_cast<const sockaddr_in&>(address).sin_addr;
    return inet_ntop(address.ss_family, from, text.data(), text.size()) == nullptr ? ""
                                                                                   : text.data();
}

void Wake(const HttpServer::State& state)
{
    const std::uint64_t one = 1;
    static_cast<void>(!::write(state.wake, &one, sizeof(one))); // full: it wakes anyhow
}

void DrainWakes(const HttpServer::State& state)
{
    std::uint64_t wakes = 0;
    static_cast<void>(!::read(state.wake, &wakes, sizeof(wakes)));
}

/// A request from its headers to the end of its answer.
class Exchange : public Waiter
{
public:
    Exchange(HttpServer::State& state, MHD_Connection* connection)
        : m_state(state), m_connection(connection), m_start(Clock::now())
    {
        const std::lock_guard guard(m_state.lock);
        ++m_state.inFlight;
        ++m_state.begun;
        if (!m_state.listens) // whoever waits for the last request has another one
            m_state.changed.notify_all();
    }

    ~Exchange() override
    {
        m_state.handler.NoteDone(m_label,
                                 m_status,
                                 m_answer.get(),
                                 std::chrono::duration<double>(Clock::now() - m_start).count());
        const std::lock_guard guard(m_state.lock);
        if (--m_state.inFlight == 0)
            m_state.changed.notify_all();
    }

    Exchange(const Exchange&) = delete;
    Exchange& operator=(const Exchange&) = delete;

    void TakeAnswer(AnswerPtr answer) noexcept override
    {
        m_answer = std::move(answer);
        m_isAnswered = true;
        HttpServer::State& state = m_state; // the exchange may be gone after the next line
        MHD_resume_connection(m_connection);
        Wake(state);
    }

    bool IsGone() const noexcept override
    {
        pollfd state{SocketOf(m_connection), POLLRDHUP, 0};
        return ::poll(&state, 1, 0) == 1 && (state.revents & (POLLRDHUP | POLLHUP | POLLERR)) != 0;
    }

    MHD_Result Proceed(const HttpRequest& request)
    {
        if (!m_isAnswered && !Begin(request))
            return MHD_YES; // suspended
        if (m_answer != nullptr)
            m_status = SendAnswer(m_connection,
                                  *m_answer,
                                  m_state.options.m_serverName,
                                  m_state.listens ? Afterwards::KeepAlive : Afterwards::Close);
        return m_status != 0 ? MHD_YES : MHD_NO;
    }

private:
    /// @return whether there is an answer now
    bool Begin(const HttpRequest& request)
    {
        Outcome outcome = m_state.handler.Handle(request);
        m_label = outcome.m_label;
        m_isAnswered = true;
        m_answer = std::move(outcome.m_answer);
        if (m_answer != nullptr || !outcome.m_work)
            return true;
        // First, for the work may be done before this returns.
        m_isAnswered = false;
        MHD_suspend_connection(m_connection);
        try {
            const auto admission = m_state.pool.Submit(
                outcome.m_key, outcome.m_lane, std::move(outcome.m_work), *this);
            if (admission == WorkPool::Admission::Full)
                TakeAnswer(BusyAnswer("too many tiles are being made already", 1));
            else if (admission == WorkPool::Admission::Ending)
                TakeAnswer(BusyAnswer("the gateway ends", 1));
        } catch (const std::exception&) {
            TakeAnswer(nullptr);
        }
        return false;
    }

    HttpServer::State& m_state;
    MHD_Connection* m_connection;
    Clock::time_point m_start;
    const char* m_label = "other";
    AnswerPtr m_answer;
    bool m_isAnswered = false;
    int m_status = 0; ///< that was sent
};

class MhdRequest : public HttpRequest
{
public:
    MhdRequest(MHD_Connection* connection, const char* method, const char* path)
        : m_connection(connection)
    {
        m_method = method;
        m_path = path;
    }

    std::string Query(const char* name) const override
    {
        const char* const value =
            MHD_lookup_connection_value(m_connection, MHD_GET_ARGUMENT_KIND, name);
        std::string decoded;
        // A text that cannot be decoded stays as it came, and is refused by whoever reads it.
        if (value != nullptr && !DecodePercent(value, decoded, SlashRule::Decode))
            decoded = value;
        return decoded;
    }

    const char* Header(const char* name) const override
    {
        return MHD_lookup_connection_value(m_connection, MHD_HEADER_KIND, name);
    }

    std::string LocalAddress() const override
    {
        sockaddr_storage address{};
        return GetLocal(address) ? TextOf(address) : "";
    }

    std::string LocalHost() const override
    {
        sockaddr_storage address{};
        if (!GetLocal(address))
            return "";
        const bool isSix = address.ss_family == AF_INET6;
        // The port lies at the same place in both kinds of addresses.
        const int port = ntohs(reinterpret_cast<const sockaddr_in&>(address).sin_port);
        const std::string text = TextOf(address);
        return isSix ? fmt::format("[{}]:{}", text, port) : fmt::format("{}:{}", text, port);
    }

    bool IsAmbiguous() const override
    {
        int hosts = 0;
        MHD_get_connection_values(m_connection, MHD_HEADER_KIND, CountHost, &hosts);
        return hosts > 1 ||
               (Header("Content-Length") != nullptr && Header("Transfer-Encoding") != nullptr);
    }

private:
    static MHD_Result CountHost(void* count, MHD_ValueKind, const char* name, const char*)
    {
        *static_cast<int*>(count) += ::strcasecmp(name, "Host") == 0 ? 1 : 0;
        return MHD_YES;
    }

    bool GetLocal(sockaddr_storage& address) const
    {
        socklen_t size = sizeof(address);
        return ::getsockname(
                   SocketOf(m_connection), reinterpret_cast<sockaddr*>(&address), &size) == 0;
    }

    MHD_Connection* m_connection;
};

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

/// @return the size of what was filled in
socklen_t FillAddress(sockaddr_storage& storage, const HttpOptions& options)
{
    auto& four = reinterpret_cast<sockaddr_in&>(storage);
    if (inet_pton(AF_INET, options.m_address.c_str(), &four.sin_addr) == 1) {
        four.sin_family = AF_INET;
        four.sin_port = htons(options.m_port);
        return sizeof(four);
    }
    auto& six = reinterpret_cast<sockaddr_in6&>(storage);
    if (inet_pton(AF_INET6, options.m_address.c_str(), &six.sin6_addr) == 1) {
        six.sin6_family = AF_INET6;
        six.sin6_port = htons(options.m_port);
        return sizeof(six);
    }
    throw CommandError(kExitWrongUsage,
                       fmt::format("'{}' is no IPv4 or IPv6 address", options.m_address),
                       "Write --bind 127.0.0.1, or 0.0.0.0 for all of this machine's addresses.");
}

MHD_Daemon* Start(HttpServer::State& state)
{
    const HttpOptions& options = state.options;
    sockaddr_storage address{};
    FillAddress(address, options);
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

Reach ReachOf(const std::string& address)
{
    in_addr four{};
    in6_addr six{};
    if (inet_pton(AF_INET, address.c_str(), &four) == 1 && four.s_addr == htonl(INADDR_ANY))
        return Reach::AllOfIPv4;
    if (inet_pton(AF_INET6, address.c_str(), &six) == 1 && IN6_IS_ADDR_UNSPECIFIED(&six) != 0)
        return Reach::AllOfIPv6;
    return Reach::One;
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
