// SPDX-License-Identifier: MIT
#include "Tunnel.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <stdexcept>

namespace KxC::Testing {

namespace {

/// A connection to a port of 127.0.0.1, closed with the object.
class Connection
{
public:
    explicit Connection(int port) : m_socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.sin_port = htons(static_cast<std::uint16_t>(port));
        if (::connect(m_socket, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0)
            throw std::runtime_error("nobody listens at the tunnel's end");
    }
    ~Connection() { ::close(m_socket); }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;
    int Socket() const { return m_socket; }

private:
    int m_socket;
};

/// Carries what has come in. @return false at the end
bool Carry(int from, int to)
{
    std::array<char, 16384> buffer;
    const ssize_t count = ::recv(from, buffer.data(), buffer.size(), 0);
    return count > 0 &&
           ::send(to, buffer.data(), static_cast<std::size_t>(count), MSG_NOSIGNAL) == count;
}

void CarryBothWays(int one, int other)
{
    std::array<pollfd, 2> ends{{{one, POLLIN, 0}, {other, POLLIN, 0}}};
    while (::poll(ends.data(), ends.size(), -1) > 0) {
        if (ends[0].revents != 0 && !Carry(one, other))
            return;
        if (ends[1].revents != 0 && !Carry(other, one))
            return;
    }
}

} // namespace

Route TunnelsTo(int port)
{
    return [port](LoopbackConnection& connection, const LoopbackRequest&) {
        const Connection server(port);
        connection.Send("HTTP/1.1 200 Granted\r\n\r\n");
        CarryBothWays(connection.Socket(), server.Socket());
        connection.Close();
    };
}

} // namespace KxC::Testing
