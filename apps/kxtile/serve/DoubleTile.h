// SPDX-License-Identifier: MIT
#pragma once

#include "KxRawData.h"
#include "serve/TileRequest.h"

#include <array>
#include <memory>

namespace KxTileHost::Serve {

/// Encoded tiles that a picture of twice a tile's edge is put together of. Null where there is
/// none.
struct DoubleTileParts
{
    std::unique_ptr<KxC::KxRawData> m_own; ///< the tile itself
    /// Of the next level: north-west, north-east, south-west, south-east.
    std::array<std::unique_ptr<KxC::KxRawData>, 4> m_quarters;

    bool IsEmpty() const;
};

/// Puts the quarters together. Where one is missing, its part of the tile itself is drawn larger;
/// without that either it stays transparent, on paper as JPEG. A tile that has twice the edge
/// already is handed out as it is.
/// @param format  Natural for that of the parts, where they agree and it has room for what they
///                leave out; else PNG
/// @return null when a part does not decode, or there is none
std::unique_ptr<KxC::KxRawData> MakeDoubleTile(DoubleTileParts parts, TileFormat format);

} // namespace KxTileHost::Serve
