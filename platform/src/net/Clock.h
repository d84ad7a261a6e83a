// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>

namespace KxC::Http {

using TimePoint = std::chrono::steady_clock::time_point;
using Milliseconds = std::chrono::milliseconds;

/// Time and pauses, so that a test can let hours pass at once. Any thread.
class Clock
{
public:
    virtual ~Clock() = default;
    virtual TimePoint Now() const = 0;
    /// Pauses the calling thread.
    virtual void Pause(Milliseconds duration) = 0;
};

/// The machine's own clock.
class SystemClock final : public Clock
{
public:
    TimePoint Now() const override;
    void Pause(Milliseconds duration) override;
};

} // namespace KxC::Http
