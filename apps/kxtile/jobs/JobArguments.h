// SPDX-License-Identifier: MIT
/// What the commands that work on many tiles share: their options, and what they say before and
/// after.
#pragma once

#include "Command.h"
#include "SizeEstimate.h"
#include "SourceArgument.h"
#include "TileJob.h"
#include "TileList.h"
#include "TileOrigin.h"

#include <string>

namespace KxTileHost {

/// The end of the help of such commands.
extern const char kJobExitCodes[];

struct JobArguments
{
    SourceArgument m_source;
    std::string m_bounds;
    std::string m_levels;
    std::string m_retry;      ///< path of a list of tiles to do instead
    std::string m_failedList; ///< empty for the command's own place
    int m_threads = 4;        ///< below what the library sends to one host at a time
    int m_size = 0;           ///< pixels a side, 0 for the origin's own
    bool m_keepGoing = false;
    bool m_dryRun = false;
    bool m_yes = false;

    void AddTo(CLI::App& command);
    /// The tiles that bounds and levels, or the list, name.
    /// @throws CommandError when they are none
    TileList MakeList() const;
    /// @throws CommandError (wrong usage) for a very large job on a service that nobody has
    ///         confirmed
    void GuardAmount(const TileList& tiles, const TileOrigin& origin) const;
    /// @param failedList  the command's own place for the list
    TileJobOptions OptionsFor(const GlobalOptions& options, const std::string& failedList) const;
};

/// Says what the job would be.
void PrintDryRun(const GlobalOptions& options,
                 const TileOrigin& origin,
                 const TileList& tiles,
                 const SizeEstimate& estimate);

/// Says what became of the tiles.
/// @param where  the file or folder that holds them now
/// @param list   path of the list of failed tiles
/// @param again  the option that tries them again
/// @param next   what the command does when it is given again after it gave up
void PrintJobEnd(const GlobalOptions& options,
                 const TileJobEnd& end,
                 const std::string& where,
                 const std::string& list,
                 const char* again = "--retry",
                 const std::string& next = "the same command goes on where it ended");

/// 0 where all tiles are there, else what kept them away.
ExitCode ExitCodeOf(const TileJobEnd& end);

/// Ends the command with that exit code; returns when it is 0.
void ThrowUnlessComplete(const TileJobEnd& end);

} // namespace KxTileHost
