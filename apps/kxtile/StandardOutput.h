// SPDX-License-Identifier: MIT
#pragma once

namespace KxTileHost {

/// Occupies standard streams that the caller has closed, so that no file that is opened later gets
/// their numbers and what is meant for the terminal: what is written to them fails.
void OccupyClosedStreams();

/// Writes what standard output still holds, and says on standard error when answers were lost.
/// @param exitCode  that of the command
/// @return it, or that of a failure when the command was done but its answer was lost
int FinishStandardOutput(int exitCode);

} // namespace KxTileHost
