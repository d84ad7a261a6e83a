// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/StopSignals.h"

#include <functional>

namespace KxTileHost {

/// Runs a step that may take its time, in a thread of its own. At a signal `onStop` is called while
/// the step still runs, and the process ends with kExitInterrupted.
/// @throws what the step throws
void RunStoppable(const std::function<void()>& step,
                  const StopSignals& signals,
                  const std::function<void()>& onStop);

} // namespace KxTileHost
