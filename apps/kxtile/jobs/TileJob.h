// SPDX-License-Identifier: MIT
/// Runs the same work on many tiles with several threads.
#pragma once

#include "JobTally.h"
#include "TileList.h"
#include "TileResult.h"

#include <functional>
#include <string>
#include <vector>

namespace KxTileHost {

struct TileJobEnd
{
    JobCounts m_counts;
    bool m_isInterrupted = false; ///< by SIGINT or SIGTERM
    std::string m_whyGivenUp;     ///< for people; empty where all tiles were tried
    std::string m_lastFailure;    ///< the reason; empty where no tile failed
    bool m_isListWritten = true;  ///< the list of failed tiles
    std::uint64_t m_listed = 0;   ///< tiles on that list
    double m_seconds = 0.0;

    /// Whether some tiles were not tried.
    bool EndedEarly() const { return m_isInterrupted || !m_whyGivenUp.empty(); }
};

struct TileJobOptions
{
    int m_threads = 1;
    bool m_givesUp = true;    ///< after a row of hopeless failures (FailureRow)
    bool m_json = false;      ///< progress as JSON lines on standard output
    std::string m_failedList; ///< path of the list of failed tiles, empty for none
    std::string m_listRemark = "Try them again with --retry and this file."; ///< in that list
    std::string m_retried; ///< path of the list that the tiles are from, empty for none
    /// Called when the process is about to end though the work on some tiles, given here, still
    /// goes on, waiting for a service: takes back what that work leaves unfinished. The workers
    /// still run. May be empty.
    std::function<void(const std::vector<HostTile>& inWork)> m_onAbandon;
    /// Called last when the process ends that way, to tell how far the job came. May be empty.
    std::function<void(const TileJobEnd& end)> m_onEnd;
};

/// Works on all tiles and goes on past failures, unless these show that asking is of no use. SIGINT
/// and SIGTERM end it: no further tile is begun; work that is not over 0.7 s later (or at a second
/// signal) is abandoned, and the process ends here with kExitInterrupted. However it ends early,
/// the list of failed tiles loses nothing: one of an earlier run is taken over, and of a list that
/// was tried again what was not tried stays listed.
TileJobEnd RunTileJob(const TileList& tiles, const TileWork& work, const TileJobOptions& options);

} // namespace KxTileHost
