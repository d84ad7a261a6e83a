// SPDX-License-Identifier: MIT
#pragma once

#include "TileResult.h"

#include <string>

namespace KxTileHost {

/// What the calling thread's last request says of those that could follow; Open where it went well
/// or was none.
Outlook OutlookOfLastRequest();

/// Watches over the failures of a job, and tells when it is of no use to ask for more: so many
/// tiles in a row failed for the same reason, which no other tile is spared. What fails for another
/// reason neither counts nor ends the row. One thread at a time.
class FailureRow
{
public:
    static constexpr int kRefused = 64;
    static constexpr int kUnreachable = 16; ///< fewer, for each may take its time

    /// An answer of any kind from the service ends the row, also that there is no such tile; a tile
    /// that was there before says nothing.
    void Add(const TileResult& result);
    bool IsHopeless() const;
    /// What happened, for people.
    std::string Describe() const;

private:
    Outlook m_outlook = Outlook::Open;
    int m_length = 0;
    std::string m_lastWhy;
};

} // namespace KxTileHost
