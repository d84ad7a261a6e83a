// SPDX-License-Identifier: MIT
/// The parts of 'kxtile source' that have files of their own; each adds its subcommand.
#pragma once

#include "Command.h"

namespace KxTileHost {

void AddSourceListCommand(CLI::App& source, const GlobalOptions& options);
void AddSourceTestCommand(CLI::App& source, const GlobalOptions& options);
void AddSourceConvertCommand(CLI::App& source, const GlobalOptions& options);

} // namespace KxTileHost
