// SPDX-License-Identifier: MIT
#pragma once

#include "EarthRequests.h"

#include <optional>
#include <vector>

namespace KxC::Earth {

/// What a fetch asks for.
struct TileWish
{
    QuadPath m_tile;
    bool m_history = false;
    DateKey m_date = 0; ///< of history imagery: the newest that is not after it
};

/// What was delivered.
struct FoundImage
{
    DateKey m_date = 0; ///< 0 where it is not known
    int m_level = 0;    ///< that it was taken from
};

/// Finds and fetches a tile's image: its own, else the part of the nearest coarser one that has
/// any, at most 8 levels up (what would be left of 256 pixels is one).
/// @return nothing where there is none
/// @throws FetchFailure, DamagedAnswer, std::bad_alloc
std::optional<FoundImage>
FindImage(KxRawData& image, EarthRequests& requests, const TileWish& wish);

/// The days of history imagery at a tile, newest first; empty where there is none.
/// @throws FetchFailure, DamagedAnswer, std::bad_alloc
std::vector<DateKey> FindDays(EarthRequests& requests, const QuadPath& tile);

} // namespace KxC::Earth
