// SPDX-License-Identifier: MIT
#pragma once

#include "KxImageData.h"
#include "TilePack.h"

#include <memory>
#include <string>

namespace KxC {

/// A tile of the geographic square grid, 256 pixels a side, rows counted from the south, made of
/// the pack's own tiles of the same level. Each pixel takes the stored pixel under its middle.
/// @param fault  why a stored tile that it needs cannot be read, which leaves a hole; else as it
/// was
/// @return 3 bytes a pixel where stored tiles cover it and are opaque, else 4, uncovered pixels
///         zero; null where the pack has nothing
std::unique_ptr<KxImageData>
MakePackImage(TilePack& pack, const TileAddress& address, std::string& fault);

} // namespace KxC
