// SPDX-License-Identifier: MIT
#pragma once

#include <signal.h>

#include <chrono>
#include <cstdint>

namespace KxTileHost {

/// A bell that one thread rings and another waits for together with signals.
class WakeUp
{
public:
    /// @throws std::system_error when the system has no room for it
    WakeUp();
    ~WakeUp();
    WakeUp(const WakeUp&) = delete;
    WakeUp& operator=(const WakeUp&) = delete;

    /// Any thread.
    void Ring() const;
    int GetDescriptor() const { return m_descriptor; }

private:
    int m_descriptor;
};

/// While it lives, SIGINT and SIGTERM do not end the process but are told here. Make it before
/// the threads that must not be interrupted either. A process that was started with one of the
/// signals ignored goes on ignoring it.
class StopSignals
{
public:
    /// @throws std::system_error when the system has no room for it
    StopSignals();
    ~StopSignals();
    StopSignals(const StopSignals&) = delete;
    StopSignals& operator=(const StopSignals&) = delete;

    enum class Event { Stop, Rung, TimeOut };
    /// Waits for a signal, for the bell, or until the time has passed. A signal is told once.
    Event Wait(const WakeUp& bell, std::chrono::milliseconds longest) const;

private:
    int m_descriptor;
    sigset_t m_before{};
};

} // namespace KxTileHost
