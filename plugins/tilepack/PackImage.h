// SPDX-License-Identifier: MIT
#pragma once

#include "KxImageData.h"
#include "TilePack.h"

#include <memory>

namespace KxC {

/// A tile of the geographic square grid, 256 pixels a side, rows counted from the south, made of
/// the pack's own tiles of the same level. Each pixel takes the stored pixel under its middle.
/// @return 3 bytes a pixel where stored tiles cover it and are opaque, else 4, uncovered pixels
///         zero; null where the pack has nothing
std::unique_ptr<KxImageData> MakePackImage(TilePack& pack, const TileAddress& address);

} // namespace KxC
