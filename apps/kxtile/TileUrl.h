// SPDX-License-Identifier: MIT
#pragma once

#include "HostTile.h"
#include "KxTSDParam.h"

#include <string>

namespace KxTileHost {

/// The URL that a source gives for a tile.
/// @throws CommandError when it gives none, with the URL script's line and message
std::string TileUrlOf(KxC::KxTSDParamItem& source, const HostTile& tile);

/// The error of a source that gives no URL: what the script said, where it has one.
[[noreturn]] void ThrowNoUrl(const KxC::KxTSDParamItem& source);

} // namespace KxTileHost
