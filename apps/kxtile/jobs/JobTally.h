// SPDX-License-Identifier: MIT
#pragma once

#include "FailedTiles.h"
#include "Outlook.h"
#include "TileResult.h"

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace KxTileHost {

/// How far a job has come.
struct JobCounts
{
    std::uint64_t m_made = 0;
    std::uint64_t m_kept = 0;
    std::uint64_t m_holes = 0;
    std::uint64_t m_failed = 0;
    std::uint64_t m_madeBytes = 0; ///< of the tiles that were made

    std::uint64_t Done() const { return m_made + m_kept + m_holes + m_failed; }
};

struct FailedTile
{
    HostTile m_tile;
    std::string m_why;
};

/// Counts what becomes of a job's tiles and lists those that fail. Any thread.
class JobTally
{
public:
    /// @param listPath  of the list of failed tiles, empty for none
    /// @param remark    at its beginning, for people
    /// @param givesUp   whether a row of hopeless failures ends the job
    JobTally(const std::string& listPath, const std::string& remark, bool givesUp = true)
        : m_list(listPath, remark), m_givesUp(givesUp)
    {
    }

    /// To be called before the work on a tile. While a row of failures leaves it in doubt whether
    /// asking is of use, this waits for the tiles in work.
    /// @return the tile's number for Add; nothing where no tile is to be begun any more
    std::optional<std::uint64_t> Begin();
    /// No tile is begun from now on; whoever waits for that does not any more.
    void Stop();
    void Add(const HostTile& tile, std::uint64_t number, const TileResult& result);
    JobCounts Counts() const;
    /// Why no further tile is to be begun; empty as long as there is hope.
    std::string WhyGivenUp() const;
    /// Of the failure that came last; empty without any.
    std::string LastFailure() const;
    /// The failures since the last call; beyond a few hundred at once the rest is only counted and
    /// listed.
    std::vector<FailedTile> TakeNews();
    /// Writes the list; what is added afterwards does not count.
    /// @return false when it could not be written
    bool Finish();
    /// The same for a job that has not tried all tiles.
    /// @param untried       listed with those that failed
    /// @param keepsEarlier  whether an earlier list's tiles stay listed
    bool FinishEarly(const std::vector<HostTile>& untried, bool keepsEarlier);
    /// Tiles on the list.
    std::uint64_t Listed() const;

private:
    /// Whether a worker must wait before it begins a tile.
    bool IsInDoubt() const;
    void Count(const HostTile& tile, const TileResult& result);

    mutable std::mutex m_mutex; ///< guards all that changes
    std::condition_variable m_changed;
    JobCounts m_counts;
    FailedTiles m_list;
    FailureRow m_row;
    std::string m_whyGivenUp;
    std::string m_lastFailure;
    std::vector<FailedTile> m_news;
    const bool m_givesUp;
    bool m_isStopped = false;
    bool m_isFinished = false;
};

} // namespace KxTileHost
