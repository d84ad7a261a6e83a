// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <string_view>

namespace KxOrigin {

/// A client's connection, for answers that no well-behaved server gives. Everything ends when the
/// client has gone, when the service stops, or when the time allowed is over. Does not own the
/// socket. Threads: one at a time.
class RawSocket
{
public:
    /// @param socket      may be non-blocking
    /// @param stopSignal  descriptor that becomes readable when the service stops; -1 for none
    /// @param allowed     time for everything from now on
    RawSocket(int socket, int stopSignal, std::chrono::milliseconds allowed);

    /// @return false when it is to end
    bool Send(std::string_view bytes);
    /// Waits. @return false when it is to end
    bool Pause(std::chrono::milliseconds duration);
    /// Waits until the client's system has everything that was sent.
    /// @return false when it is to end
    bool Drain();
    /// Ends the connection with a reset.
    void Reset();

private:
    bool WaitUntilWritable();
    std::chrono::milliseconds Left() const;

    int m_socket;
    int m_stopSignal;
    std::chrono::steady_clock::time_point m_end;
};

} // namespace KxOrigin
