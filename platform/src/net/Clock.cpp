// SPDX-License-Identifier: MIT
#include "Clock.h"

#include <thread>

namespace KxC::Http {

TimePoint SystemClock::Now() const
{
    return std::chrono::steady_clock::now();
}

void SystemClock::Pause(Milliseconds duration)
{
    std::this_thread::sleep_for(duration);
}

} // namespace KxC::Http
