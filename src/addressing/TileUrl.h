// SPDX-License-Identifier: MIT
#pragma once

#include "KxString.h"
#include "KxTSDParam.h"
#include "TileAddress.h"

namespace KxC {

/// The download URL of a tile. Advances the server rotation; changes nothing in the record.
/// RowRule::AsGiven skips only the turning of rows: the three-quarter rule still applies.
KxString BuildTileUrl(KxTSDParamItem& source, const SourceTile& tile, RowRule rowRule);

} // namespace KxC
