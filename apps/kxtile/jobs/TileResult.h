// SPDX-License-Identifier: MIT
#pragma once

#include "HostTile.h"
#include "KxRawData.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace KxTileHost {

/// How the work on one tile of many ended.
enum class TileOutcome {
    Made,   ///< fetched or cut now
    Kept,   ///< was there already
    Hole,   ///< there is no such tile, and asking again would not change that
    Failed, ///< may come out another time
};

/// What a failure says of tiles that were not asked for yet.
enum class Outlook {
    Open,        ///< another one may come all the same
    Refused,     ///< the service lets us have none, as long as nothing is changed
    Unreachable, ///< there is nobody to ask
};

struct TileResult
{
    TileOutcome m_outcome = TileOutcome::Failed;
    std::uint64_t m_bytes = 0;         ///< of a tile that was made or kept
    std::string m_why;                 ///< of a failure; free of secrets
    Outlook m_outlook = Outlook::Open; ///< of a failure
};

/// An encoded tile, or why there is none.
struct TileBytes
{
    TileOutcome m_outcome = TileOutcome::Failed; ///< Made, Hole or Failed
    std::unique_ptr<KxC::KxRawData> m_bytes;     ///< with its extension; null unless Made
    std::string m_why;                           ///< of a failure; free of secrets
    Outlook m_outlook = Outlook::Open;           ///< of a failure
};

/// Does the work on one tile. Called by several threads at once; what it throws of
/// std::exception is a failure of that tile.
using TileWork = std::function<TileResult(const HostTile& tile)>;

} // namespace KxTileHost
