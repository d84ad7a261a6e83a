// SPDX-License-Identifier: MIT
#include "StoppableStep.h"

#include "Command.h"

#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <exception>
#include <thread>

namespace KxTileHost {

void RunStoppable(const std::function<void()>& step,
                  const StopSignals& signals,
                  const std::function<void()>& onStop)
{
    std::exception_ptr failure;
    const WakeUp bell;
    std::jthread worker([&] {
        try {
            step();
        } catch (...) {
            failure = std::current_exception();
        }
        bell.Ring();
    });
    constexpr std::chrono::minutes kLong(60);
    for (auto event = StopSignals::Event::TimeOut; event != StopSignals::Event::Rung;) {
        event = signals.Wait(bell, kLong);
        if (event == StopSignals::Event::Stop) {
            onStop();
            std::fflush(stdout);
            ::_exit(kExitInterrupted);
        }
    }
    worker.join();
    if (failure)
        std::rethrow_exception(failure);
}

} // namespace KxTileHost
