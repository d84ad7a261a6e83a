// SPDX-License-Identifier: MIT
#pragma once

#include "HostTile.h"
#include "KxTSDParam.h"

#include <optional>

namespace KxTileHost {

/// The tile of a source that holds a place.
/// @param lon, lat  degrees, WGS 84
/// @throws CommandError (wrong usage) for places that the source's grid does not hold
HostTile TileAt(const KxC::KxTSDParamItem& source, double lon, double lat, int level);

/// A tile where the source should have one: in the middle of its bounds; where it names none,
/// in central Europe, or in Beijing for a datum that only China's services use.
/// @param level  the level wanted; none for one near 3 that the bounds allow
HostTile LikelyTile(const KxC::KxTSDParamItem& source, std::optional<int> level);

/// A level near 3 that the source's bounds allow.
int LikelyLevel(const KxC::KxTSDParamItem& source);

} // namespace KxTileHost
