// SPDX-License-Identifier: MIT
#pragma once

#include "TileList.h"
#include "TileOrigin.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace KxTileHost {

/// How many bytes the tiles of a list will take, about.
struct SizeEstimate
{
    std::uint64_t m_bytes = 0;
    std::string m_basis; ///< what the estimate rests on, in words
};

/// Bytes of a tile that is at hand already; nothing where it is not.
using SizeOnHand = std::function<std::optional<std::uint64_t>(const HostTile& tile)>;

/// Estimates without a request: from tiles at hand, else from a few tiles cut from the raster, else
/// from what tiles of that size usually take.
SizeEstimate
EstimateSize(const TileList& tiles, const TileOrigin& origin, const SizeOnHand& sizeOnHand);

} // namespace KxTileHost
