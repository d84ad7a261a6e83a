// SPDX-License-Identifier: MIT
#include "RawSocket.h"

#include <linux/sockios.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>

namespace KxOrigin {

namespace {

using std::chrono::milliseconds;

constexpr short kGone = POLLRDHUP | POLLHUP | POLLERR | POLLNVAL;

} // namespace

RawSocket::RawSocket(int socket, int stopSignal, milliseconds allowed)
    : m_socket(socket), m_stopSignal(stopSignal), m_end(std::chrono::steady_clock::now() + allowed)
{
}

bool RawSocket::Send(std::string_view bytes)
{
    while (!bytes.empty() && Left() > milliseconds(0)) {
        const ssize_t count =
            ::send(m_socket, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        if (count >= 0)
            bytes.remove_prefix(static_cast<std::size_t>(count));
        else if ((errno != EAGAIN && errno != EINTR) || !WaitUntilWritable())
            return false;
    }
    return bytes.empty();
}

bool RawSocket::Pause(milliseconds duration)
{
    const auto end = std::min(m_end, std::chrono::steady_clock::now() + duration);
    std::array<pollfd, 2> watched{{{m_socket, POLLRDHUP, 0}, {m_stopSignal, POLLIN, 0}}};
    for (;;) {
        const auto left =
            std::chrono::ceil<milliseconds>(end - std::chrono::steady_clock::now()).count();
        if (left <= 0)
            return Left() > milliseconds(0);
        const int ready = ::poll(watched.data(), watched.size(), static_cast<int>(left));
        if (ready > 0 || (ready < 0 && errno != EINTR))
            return false;
    }
}

bool RawSocket::Drain()
{
    int unsent = 0;
    while (::ioctl(m_socket, SIOCOUTQ, &unsent) == 0 && unsent > 0)
        if (!Pause(milliseconds(1)))
            return false;
    return true;
}

void RawSocket::Reset()
{
    // connect(2): an address of no family dissolves the association, which TCP does by a reset.
    sockaddr none{};
    none.sa_family = AF_UNSPEC;
    ::connect(m_socket, &none, sizeof(none));
}

bool RawSocket::WaitUntilWritable()
{
    std::array<pollfd, 2> watched{
        {{m_socket, static_cast<short>(POLLOUT | POLLRDHUP), 0}, {m_stopSignal, POLLIN, 0}}};
    const int ready = ::poll(watched.data(), watched.size(), static_cast<int>(Left().count()));
    if (ready < 0)
        return errno == EINTR;
    return ready > 0 && watched[1].revents == 0 && (watched[0].revents & kGone) == 0;
}

milliseconds RawSocket::Left() const
{
    return std::max(milliseconds(0),
                    std::chrono::ceil<milliseconds>(m_end - std::chrono::steady_clock::now()));
}

} // namespace KxOrigin
