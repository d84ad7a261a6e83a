// SPDX-License-Identifier: MIT
#include "serve/Connections.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <iterator>
#include <vector>

namespace KxTileHost::Serve {

Connections::Handle Connections::Open(int socket, Clock::time_point now)
{
    const std::lock_guard guard(m_lock);
    if (m_idle.size() + m_busy.size() >= m_limits.m_count && !m_idle.empty()) {
        // It is closed soon, but until then it must not be chosen again.
        Entry& oldest = m_idle.front();
        ::shutdown(oldest.m_socket, SHUT_RDWR);
        oldest.m_since = now;
        m_idle.splice(m_idle.end(), m_idle, m_idle.begin());
    }
    Entry entry;
    entry.m_socket = socket;
    entry.m_since = now;
    return m_idle.insert(m_idle.end(), entry);
}

void Connections::Begin(Handle connection, Clock::time_point now)
{
    const std::lock_guard guard(m_lock);
    connection->m_isBusy = true;
    connection->m_since = now;
    m_busy.splice(m_busy.end(), m_idle, connection);
}

void Connections::End(Handle connection, Clock::time_point now)
{
    const std::lock_guard guard(m_lock);
    if (!connection->m_isBusy)
        return;
    connection->m_isBusy = false;
    connection->m_since = now;
    m_idle.splice(m_idle.end(), m_busy, connection);
}

void Connections::Close(Handle connection)
{
    const std::lock_guard guard(m_lock);
    (connection->m_isBusy ? m_busy : m_idle).erase(connection);
}

/// A request that ends in the middle, with the end of the connection behind it, reaches the event
/// loop as one event: it reads what came and learns of the end no more.
void Connections::CutHungUp()
{
    std::vector<pollfd> sockets;
    for (const Entry& entry : m_idle)
        sockets.push_back({entry.m_socket, POLLRDHUP, 0});
    if (::poll(sockets.data(), sockets.size(), 0) <= 0)
        return;
    for (const pollfd& socket : sockets)
        if ((socket.revents & (POLLRDHUP | POLLHUP | POLLERR)) != 0)
            ::shutdown(socket.fd, SHUT_RDWR);
}

void Connections::CutLate(Clock::time_point now)
{
    const std::lock_guard guard(m_lock);
    for (const Entry& entry : m_idle) {
        if (now - entry.m_since <= m_limits.m_idle)
            break;
        ::shutdown(entry.m_socket, SHUT_RDWR);
    }
    CutHungUp();
    for (const Entry& entry : m_busy) {
        if (now - entry.m_since <= m_limits.m_request)
            break;
        ::shutdown(entry.m_socket, SHUT_RDWR);
    }
}

bool Connections::HasUnread() const
{
    const std::lock_guard guard(m_lock);
    std::vector<pollfd> sockets;
    for (const Entry& entry : m_idle)
        sockets.push_back({entry.m_socket, POLLIN | POLLRDHUP, 0});
    if (::poll(sockets.data(), sockets.size(), 0) <= 0)
        return false;
    return std::any_of(sockets.begin(), sockets.end(), [](const pollfd& socket) {
        return (socket.revents & POLLIN) != 0 &&
               (socket.revents & (POLLRDHUP | POLLHUP | POLLERR)) == 0;
    });
}

std::size_t Connections::Count() const
{
    const std::lock_guard guard(m_lock);
    return m_idle.size() + m_busy.size();
}

std::size_t Connections::Busy() const
{
    const std::lock_guard guard(m_lock);
    return m_busy.size();
}

} // namespace KxTileHost::Serve
