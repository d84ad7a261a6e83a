// SPDX-License-Identifier: MIT
/// Gets and makes tiles. These operations wait for services: they belong on worker threads.
#pragma once

#include "KxRawData.h"
#include "serve/Source.h"

#include <memory>
#include <string>
#include <vector>

namespace KxTileHost::Serve {

struct MadeTile
{
    enum Outcome {
        kTile,
        kNoTile,  ///< the source has none there
        kFailed,  ///< it, or its service, did not deliver
        kTooSlow, ///< it did not deliver in time
    };
    Outcome m_outcome = kFailed;
    std::unique_ptr<KxC::KxRawData> m_bytes; ///< of kTile
    std::string m_cause;                     ///< of the failures: one line, without secrets
    const char* m_cacheState = "upstream";   ///< memory, disk or upstream
};

/// A tile of the standard tiling, in the format that it comes in.
/// @param tile       valid for the source
/// @param timeoutMs  of each request; 0 for the library's default
MadeTile MakeTile(const Source& source, const TileRequest& tile, int timeoutMs);

/// The service's own tile as it comes. Of the Baidu grid, column and row count from its origin.
MadeTile FetchRawTile(const Source& source, const TileRequest& tile, int timeoutMs);

/// The days of history imagery at a place, newest first.
struct FoundDays
{
    MadeTile::Outcome m_outcome = MadeTile::kFailed;
    std::vector<std::string> m_days; ///< "2020-01-31"
    std::string m_cause;
};
FoundDays FindDays(const Source& source, double longitude, double latitude, int level);

/// Whether a tile of the standard tiling may hold anything of the source, by its bounds.
bool LiesInBounds(const Source& source, const TileRequest& tile);

} // namespace KxTileHost::Serve
