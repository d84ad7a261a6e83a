// SPDX-License-Identifier: MIT
#include "LoopbackServer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <strings.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <system_error>
#include <utility>

namespace KxC::Testing {

namespace {

void Check(int result, const char* what)
{
    if (result < 0)
        throw std::system_error(errno, std::generic_category(), what);
}

sockaddr_in LoopbackAddress()
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

int PortOf(int socket)
{
    sockaddr_in address{};
    socklen_t size = sizeof(address);
    Check(::getsockname(socket, reinterpret_cast<sockaddr*>(&address), &size), "getsockname");
    return ntohs(address.sin_port);
}

/// A socket that listens on a free port of 127.0.0.1.
int Listen()
{
    const int listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    Check(listener, "socket");
    const sockaddr_in address = LoopbackAddress();
    Check(::bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), "bind");
    Check(::listen(listener, SOMAXCONN), "listen");
    return listener;
}

/// Appends what comes next. @return false at the connection's end
bool Receive(int socket, std::string& bytes)
{
    std::array<char, 16384> buffer;
    const ssize_t count = ::recv(socket, buffer.data(), buffer.size(), 0);
    if (count > 0)
        bytes.append(buffer.data(), static_cast<std::size_t>(count));
    return count > 0;
}

/// Takes the next request's head out of `pending`, receiving as needed.
bool ReceiveHead(int socket, std::string& pending, std::string& head)
{
    std::size_t end = 0;
    while ((end = pending.find("\r\n\r\n")) == std::string::npos)
        if (!Receive(socket, pending))
            return false;
    head = pending.substr(0, end + 2);
    pending.erase(0, end + 4);
    return true;
}

std::string TargetOf(const std::string& head)
{
    const std::size_t start = head.find(' ') + 1;
    return head.substr(start, head.find(' ', start) - start);
}

/// Start of the value of a header in a head, npos when it is not there.
std::size_t FindHeader(const std::string& head, std::string_view name)
{
    for (std::size_t line = head.find("\r\n"); line != std::string::npos;
         line = head.find("\r\n", line + 2)) {
        const std::size_t start = line + 2;
        if (head.size() > start + name.size() && head[start + name.size()] == ':' &&
            ::strncasecmp(head.data() + start, name.data(), name.size()) == 0)
            return start + name.size() + 1;
    }
    return std::string::npos;
}

} // namespace

std::string LoopbackRequest::Header(std::string_view name) const
{
    const std::size_t colon = FindHeader(head, name);
    if (colon == std::string::npos)
        return {};
    const std::size_t end = head.find("\r\n", colon);
    const std::size_t start = head.find_first_not_of(" \t", colon);
    return start >= end ? std::string() : head.substr(start, end - start);
}

bool LoopbackRequest::HasHeader(std::string_view name) const
{
    return FindHeader(head, name) != std::string::npos;
}

bool LoopbackConnection::Send(std::string_view bytes)
{
    while (m_isOpen && !bytes.empty()) {
        const ssize_t count = ::send(m_socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (count <= 0)
            m_isOpen = false;
        else
            bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return m_isOpen;
}

void LoopbackConnection::Close()
{
    ::shutdown(m_socket, SHUT_WR);
    m_isOpen = false;
}

void LoopbackConnection::Reset()
{
    const linger atOnce{.l_onoff = 1, .l_linger = 0};
    ::setsockopt(m_socket, SOL_SOCKET, SO_LINGER, &atOnce, sizeof(atOnce));
    m_isOpen = false;
}

void LoopbackConnection::WaitForEnd()
{
    std::string ignored;
    while (Receive(m_socket, ignored))
        ignored.clear();
    m_isOpen = false;
}

void Gate::Open()
{
    const std::lock_guard lock(m_lock);
    m_isOpen = true;
    m_changed.notify_all();
}

void Gate::Wait()
{
    std::unique_lock lock(m_lock);
    m_changed.wait(lock, [this] { return m_isOpen; });
}

LoopbackServer::LoopbackServer() : m_listener(Listen()), m_port(PortOf(m_listener))
{
    m_acceptor = std::thread([this] { Accept(); });
}

LoopbackServer::~LoopbackServer()
{
    {
        const std::lock_guard lock(m_lock);
        m_isStopping = true;
        for (Gate& gate : m_gates)
            gate.Open();
        for (const Client& client : m_clients)
            if (client.socket >= 0)
                ::shutdown(client.socket, SHUT_RDWR);
    }
    ::shutdown(m_listener, SHUT_RDWR);
    m_acceptor.join();
    for (Client& client : m_clients)
        client.thread.join();
    ::close(m_listener);
}

void LoopbackServer::On(const std::string& path, Route route)
{
    const std::lock_guard lock(m_lock);
    m_routes[path] = std::move(route);
}

std::string LoopbackServer::Url(std::string_view path) const
{
    return "http://127.0.0.1:" + std::to_string(m_port) + std::string(path);
}

int LoopbackServer::RequestCount() const
{
    const std::lock_guard lock(m_lock);
    return static_cast<int>(m_requests.size());
}

void LoopbackServer::WaitForRequests(int count)
{
    std::unique_lock lock(m_lock);
    m_requested.wait(lock, [&] { return m_requests.size() >= static_cast<std::size_t>(count); });
}

std::vector<LoopbackRequest> LoopbackServer::Requests() const
{
    const std::lock_guard lock(m_lock);
    return m_requests;
}

Gate& LoopbackServer::MakeGate()
{
    const std::lock_guard lock(m_lock);
    return m_gates.emplace_back();
}

void LoopbackServer::Accept()
{
    for (;;) {
        const int socket = ::accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
        if (socket < 0 && errno != EINTR && errno != ECONNABORTED)
            return;
        if (socket >= 0)
            Start(socket);
    }
}

void LoopbackServer::Start(int socket)
{
    const int on = 1;
    ::setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
    const std::lock_guard lock(m_lock);
    if (m_isStopping) {
        ::close(socket);
        return;
    }
    ++m_connectionCount;
    Client& client = m_clients.emplace_back(Client{socket, {}});
    client.thread = std::thread([this, socket] { Serve(socket); });
}

void LoopbackServer::Serve(int socket)
{
    LoopbackConnection connection(socket);
    std::string pending;
    LoopbackRequest request;
    while (connection.IsOpen() && ReceiveHead(socket, pending, request.head)) {
        request.target = TargetOf(request.head);
        Record(request);
        RouteFor(request.target)(connection, request);
    }
    Finish(socket);
}

/// Closed under the lock, so that the destructor never ends a number that is someone else's by now.
void LoopbackServer::Finish(int socket)
{
    const std::lock_guard lock(m_lock);
    for (Client& client : m_clients)
        if (client.socket == socket)
            client.socket = -1;
    ::close(socket);
}

void LoopbackServer::Record(const LoopbackRequest& request)
{
    const std::lock_guard lock(m_lock);
    m_requests.push_back(request);
    m_requested.notify_all();
}

Route LoopbackServer::RouteFor(const std::string& target) const
{
    const std::lock_guard lock(m_lock);
    std::string path = target.substr(0, target.find('?'));
    auto route = m_routes.find(path);
    while (route == m_routes.end() && path.size() > 1) {
        path.erase(path.find_last_of('/', path.size() - 2) + 1);
        route = m_routes.find(path);
    }
    return route == m_routes.end() ? Answers(404, "") : route->second;
}

std::string AnswerText(int status, std::string_view body, std::string_view lines)
{
    std::string text = "HTTP/1.1 " + std::to_string(status) + " Scripted\r\n";
    text += lines;
    if (status != 204 && status != 304)
        text += "Content-Length: " + std::to_string(body.size()) + "\r\n";
    text += "\r\n";
    return text.append(body);
}

Route Answers(int status, std::string body, std::string lines)
{
    return [text = AnswerText(status, body, lines)](
               LoopbackConnection& connection, const LoopbackRequest&) { connection.Send(text); };
}

Route SendsAndCloses(std::string bytes)
{
    return [text = std::move(bytes)](LoopbackConnection& connection, const LoopbackRequest&) {
        connection.Send(text);
        connection.Close();
    };
}

} // namespace KxC::Testing
