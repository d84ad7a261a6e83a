// SPDX-License-Identifier: MIT
#pragma once

#include "GeoPoint.h"
#include "HostTile.h"
#include "KxTSDParam.h"

#include <optional>

namespace KxTileHost {

/// The tile of a source that holds a place.
/// @throws CommandError (no tile there) for places that the source's grid does not hold
HostTile TileAt(const KxC::KxTSDParamItem& source, const GeoPoint& place, int level);

/// A tile where the source should have one: in the middle of its bounds; where these are the whole
/// world, or none, in central Europe, or in Beijing for a datum that only China's services use.
/// @param level  the level wanted; none for one near 3 that the bounds allow
HostTile LikelyTile(const KxC::KxTSDParamItem& source, std::optional<int> level);

/// A level near 3 that the source's bounds allow.
int LikelyLevel(const KxC::KxTSDParamItem& source);

} // namespace KxTileHost
