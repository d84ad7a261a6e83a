// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstddef>
#include <list>
#include <mutex>

namespace KxTileHost::Serve {

/// Keeps count of the open connections, so that none is held open for ever and idle ones make room
/// for new ones. It cuts a connection by shutting its socket down; who owns the socket notices.
/// Any thread.
class Connections
{
public:
    using Clock = std::chrono::steady_clock;

    struct Limits
    {
        std::size_t m_count = 4096;      ///< beyond it the one idle for longest is cut
        std::chrono::seconds m_idle{60}; ///< between requests, and until one is whole
        /// From a whole request to the end of its answer: more than work may take.
        std::chrono::seconds m_request{90};
    };

    class Entry
    {
        friend class Connections;
        int m_socket = -1;
        bool m_isBusy = false;
        Clock::time_point m_since;
    };
    using Handle = std::list<Entry>::iterator;

    explicit Connections(const Limits& limits) : m_limits(limits) {}

    Handle Open(int socket, Clock::time_point now);
    /// A whole request has come.
    void Begin(Handle connection, Clock::time_point now);
    /// It has been answered, or given up.
    void End(Handle connection, Clock::time_point now);
    /// To be called before the socket is closed.
    void Close(Handle connection);

    /// Cuts what takes longer than the limits allow, and idle ones that the other end has left.
    /// To be called now and then.
    void CutLate(Clock::time_point now);

    /// Whether a request, or part of one, has come that nobody has read yet.
    bool HasUnread() const;

    std::size_t Count() const;
    std::size_t Busy() const;

private:
    void CutHungUp();

    const Limits m_limits;
    mutable std::mutex m_lock;
    /// Both in the order of m_since, the oldest in front.
    std::list<Entry> m_idle;
    std::list<Entry> m_busy;
};

} // namespace KxTileHost::Serve
