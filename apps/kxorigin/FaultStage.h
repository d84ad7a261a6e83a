// SPDX-License-Identifier: MIT
#pragma once

#include "FaultKinds.h"

#include <atomic>
#include <cstddef>
#include <list>
#include <mutex>
#include <thread>

struct MHD_Connection;

namespace KxOrigin {

/// Plays faults on connections that the server lends, each on a thread of its own, so that a slow
/// one holds nobody up. Safe for several threads.
class FaultStage
{
public:
    /// More than this at once are refused.
    static constexpr std::size_t kMostAtOnce = 128;
    /// No fault lasts longer.
    static constexpr std::chrono::seconds kLongest{120};

    /// @throws std::system_error when the system has no descriptor left
    FaultStage();
    ~FaultStage();
    FaultStage(const FaultStage&) = delete;
    FaultStage& operator=(const FaultStage&) = delete;

    /// Called by a request's handler: suspends the connection, answers, resumes it. The handler,
    /// called again, is to close it.
    /// @return false when the fault is refused and the connection was not touched
    bool Play(MHD_Connection* connection, const Fault& fault, const Response& tile);

    /// Ends all faults and resumes their connections; from now on all are refused. To be called
    /// before the server stops, which it cannot with connections suspended.
    void Stop();

private:
    struct Act
    {
        std::thread thread;
        std::atomic<bool> isOver{false};
    };
    void Begin(MHD_Connection* connection, const Fault& fault, const Response& tile);
    void SweepUp();

    int m_stopSignal;
    std::mutex m_mutex; ///< guards everything below
    bool m_isStopping = false;
    std::list<Act> m_acts;
};

} // namespace KxOrigin
