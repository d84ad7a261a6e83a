// SPDX-License-Identifier: MIT
#pragma once

#include "TileResult.h"

#include <cstdint>
#include <string>

namespace KxTileHost {

/// What the calling thread's last request says of those that could follow; Open where it went well
/// or was none.
Outlook OutlookOfLastRequest();

/// Watches over the failures of a job, and tells when it is of no use to ask for more: so many
/// tiles in a row failed for the same reason, which no other tile is spared. What fails for another
/// reason neither counts nor ends the row. Failures may come at once and successes late, so that
/// tiles in work may still turn out well: a long row is a doubt until they are over. One thread at
/// a time.
class FailureRow
{
public:
    static constexpr int kRefused = 64;
    static constexpr int kUnreachable = 16; ///< fewer, for each may take its time

    /// A tile goes into work.
    /// @return its number, in the order of such calls
    std::uint64_t Begin();
    /// That tile's work is over. An answer of any kind from the service ends the row, also that
    /// there is no such tile, and failures of tiles that were begun before that one do not count
    /// any more; a tile that was there before says nothing.
    void Add(std::uint64_t number, const TileResult& result);
    /// Whether the row is so long that no tile should be begun until those in work are over.
    bool IsDoubtful() const;
    /// Doubtful, and nothing is in work that could end the row.
    bool IsHopeless() const { return IsDoubtful() && m_inWork == 0; }
    /// What happened, for people.
    std::string Describe() const;

private:
    Outlook m_outlook = Outlook::Open;
    int m_length = 0;
    int m_inWork = 0;
    std::uint64_t m_begun = 0;
    std::uint64_t m_lastAnswered = 0; ///< the last begun of those that were answered; 0 for none
    std::string m_lastWhy;
};

} // namespace KxTileHost
