// SPDX-License-Identifier: MIT
#pragma once

#include "Command.h"

namespace KxTileHost {

/// Adds 'check' to 'kxtile source'.
void AddSourceCheckCommand(CLI::App& source, const GlobalOptions& options);

} // namespace KxTileHost
