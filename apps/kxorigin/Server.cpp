// SPDX-License-Identifier: MIT
#include "Server.h"

#include "FaultStage.h"
#include "Faults.h"

#include <arpa/inet.h>
#include <microhttpd.h>
#include <strings.h>
#include <sys/socket.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <new>
#include <stdexcept>
#include <system_error>

namespace KxOrigin {

struct Server::State
{
    Service& service;
    RequestLog& log;
    std::atomic<std::uint64_t> connections{0};
    Faults faults{};
    FaultStage stage{};
};

namespace {

using Clock = std::chrono::steady_clock;

constexpr unsigned int kThreads = 4;
constexpr unsigned int kIdleSeconds = 30;

/// What is remembered of a request from its first line to its end.
struct Exchange
{
    std::string uri;
    Clock::time_point start = Clock::now();
    bool headersSeen = false;
    bool isPlayed = false; ///< a fault has answered it
};

// Every function below is called by C code, so nothing may be thrown out of it.

/// Keeps paths as they came: an encoded slash must not become a separator.
std::size_t LeaveEncoded(void*, MHD_Connection*, char* text)
{
    return std::strlen(text);
}

void* BeginExchange(void*, const char* uri, MHD_Connection*) noexcept
try {
    return new Exchange{uri};
} catch (const std::bad_alloc&) {
    return nullptr;
}

void EndExchange(void*, MHD_Connection*, void** exchange, MHD_RequestTerminationCode)
{
    delete static_cast<Exchange*>(*exchange);
    *exchange = nullptr;
}

/// Gives each connection its number.
void NoteConnection(void* state,
                    MHD_Connection*,
                    void** number,
                    MHD_ConnectionNotificationCode code)
{
    if (code == MHD_CONNECTION_NOTIFY_STARTED)
        *number =
            new (std::nothrow) std::uint64_t(++static_cast<Server::State*>(state)->connections);
    else
        delete static_cast<std::uint64_t*>(*number);
}

std::uint64_t ConnectionNumber(MHD_Connection* connection)
{
    const MHD_ConnectionInfo* info =
        MHD_get_connection_info(connection, MHD_CONNECTION_INFO_SOCKET_CONTEXT);
    if (info == nullptr || info->socket_context == nullptr)
        return 0;
    return *static_cast<const std::uint64_t*>(info->socket_context);
}

std::string HeaderOf(MHD_Connection* connection, const char* name)
{
    const char* value = MHD_lookup_connection_value(connection, MHD_HEADER_KIND, name);
    return value == nullptr ? "" : value;
}

MHD_Result CollectHeader(void* headers, MHD_ValueKind, const char* name, const char* value) noexcept
try {
    if (strncasecmp(name, "X-", 2) == 0 || strcasecmp(name, "Accept") == 0)
        static_cast<decltype(RequestRecord::headers)*>(headers)->emplace_back(
            name, value == nullptr ? "" : value);
    return MHD_YES;
} catch (const std::bad_alloc&) {
    return MHD_NO;
}

void Log(RequestLog& log,
         MHD_Connection* connection,
         const Exchange& exchange,
         const Request& request,
         const Response& response)
{
    const std::chrono::duration<double, std::milli> elapsed = Clock::now() - exchange.start;
    RequestRecord record{request.method,
                         exchange.uri,
                         response.status,
                         response.body->size(),
                         request.userAgent,
                         {},
                         ConnectionNumber(connection),
                         elapsed.count()};
    MHD_get_connection_values(connection, MHD_HEADER_KIND, CollectHeader, &record.headers);
    log.Write(record);
}

void ReleaseBody(void* body)
{
    delete static_cast<std::shared_ptr<const Bytes>*>(body);
}

/// The response shares the tile with the cache instead of copying it.
MHD_Response* MakeResponse(const std::shared_ptr<const Bytes>& body)
{
    auto shared = std::make_unique<std::shared_ptr<const Bytes>>(body);
    // Declared for bytes that may be written to; responses are only ever read.
    auto* bytes = const_cast<unsigned char*>(body->data());
    MHD_Response* made = MHD_create_response_from_buffer_with_free_callback_cls(
        body->size(), bytes, ReleaseBody, shared.get());
    if (made != nullptr)
        static_cast<void>(shared.release()); // ReleaseBody has it now
    return made;
}

MHD_Result Send(MHD_Connection* connection, const Response& response)
{
    const std::unique_ptr<MHD_Response, decltype(&MHD_destroy_response)> made(
        MakeResponse(response.body), &MHD_destroy_response);
    if (!made)
        return MHD_NO;
    if (response.status != MHD_HTTP_NO_CONTENT)
        MHD_add_response_header(
            made.get(), MHD_HTTP_HEADER_CONTENT_TYPE, response.contentType.c_str());
    if (response.status == MHD_HTTP_METHOD_NOT_ALLOWED)
        MHD_add_response_header(made.get(), MHD_HTTP_HEADER_ALLOW, "GET, HEAD");
    return MHD_queue_response(connection, static_cast<unsigned int>(response.status), made.get());
}

std::string QueryOf(const std::string& uri)
{
    const std::size_t mark = uri.find('?');
    return mark == std::string::npos ? "" : uri.substr(mark + 1);
}

MHD_Result AnswerRequest(Server::State& state,
                         MHD_Connection* connection,
                         Exchange& exchange,
                         const char* path,
                         const char* method)
{
    Request request{method,
                    path,
                    HeaderOf(connection, MHD_HTTP_HEADER_USER_AGENT),
                    HeaderOf(connection, "X-Api-Key"),
                    QueryOf(exchange.uri),
                    HeaderOf(connection, MHD_HTTP_HEADER_HOST)};
    const auto fault = state.faults.Meet(request, exchange.uri);
    Response response = state.service.Respond(request);
    exchange.isPlayed = fault && response.status == MHD_HTTP_OK;
    if (exchange.isPlayed)
        response.status = fault->Status();
    // Logged before it is sent: whoever has the answer finds its line in the log.
    Log(state.log, connection, exchange, request, response);
    if (exchange.isPlayed)
        return state.stage.Play(connection, *fault, response) ? MHD_YES : MHD_NO;
    return Send(connection, response);
}

MHD_Result Handle(void* state,
                  MHD_Connection* connection,
                  const char* path,
                  const char* method,
                  const char*,
                  const char*,
                  std::size_t* uploadSize,
                  void** context) noexcept
try {
    auto* exchange = static_cast<Exchange*>(*context);
    if (exchange == nullptr || exchange->isPlayed)
        return MHD_NO;
    // An answer in the first call would cost the connection, an upload is read and thrown away.
    if (!exchange->headersSeen || *uploadSize != 0) {
        exchange->headersSeen = true;
        *uploadSize = 0;
        return MHD_YES;
    }
    return AnswerRequest(*static_cast<Server::State*>(state), connection, *exchange, path, method);
} catch (const std::exception&) {
    return MHD_NO;
}

sockaddr_in ToSocketAddress(const std::string& address, std::uint16_t port)
{
    sockaddr_in socketAddress{};
    socketAddress.sin_family = AF_INET;
    socketAddress.sin_port = htons(port);
    if (inet_pton(AF_INET, address.c_str(), &socketAddress.sin_addr) != 1)
        throw std::runtime_error("'" + address + "' is not an IPv4 address");
    return socketAddress;
}

} // namespace

Server::Server(Service& service, RequestLog& log, const std::string& address, std::uint16_t port)
    : m_state(new State{service, log}), m_daemon(nullptr)
{
    const sockaddr_in socketAddress = ToSocketAddress(address, port);
    m_daemon = MHD_start_daemon(MHD_USE_AUTO_INTERNAL_THREAD | MHD_ALLOW_SUSPEND_RESUME,
                                port,
                                nullptr,
                                nullptr,
                                &Handle,
                                m_state.get(),
                                MHD_OPTION_SOCK_ADDR,
                                &socketAddress,
                                MHD_OPTION_THREAD_POOL_SIZE,
                                kThreads,
                                MHD_OPTION_CONNECTION_TIMEOUT,
                                kIdleSeconds,
                                MHD_OPTION_UNESCAPE_CALLBACK,
                                &LeaveEncoded,
                                nullptr,
                                MHD_OPTION_URI_LOG_CALLBACK,
                                &BeginExchange,
                                nullptr,
                                MHD_OPTION_NOTIFY_COMPLETED,
                                &EndExchange,
                                nullptr,
                                MHD_OPTION_NOTIFY_CONNECTION,
                                &NoteConnection,
                                m_state.get(),
                                MHD_OPTION_END);
    if (m_daemon == nullptr)
        throw std::runtime_error("cannot listen on " + address + ":" + std::to_string(port) + ": " +
                                 std::generic_category().message(errno));
}

Server::~Server()
{
    m_state->stage.Stop();
    MHD_stop_daemon(m_daemon);
}

std::uint16_t Server::Port() const
{
    return MHD_get_daemon_info(m_daemon, MHD_DAEMON_INFO_BIND_PORT)->port;
}

} // namespace KxOrigin
