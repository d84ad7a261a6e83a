// SPDX-License-Identifier: MIT
#pragma once

#include "Bytes.h"
#include "EarthBytes.h"
#include "QuadPath.h"

namespace KxC::EarthTest {

inline Earth::ByteView View(std::string_view bytes)
{
    return {reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size()};
}

/// The tile of a path of digits, without the leading 0, by the published table of quarters.
inline Earth::QuadPath TileOf(std::string_view digits)
{
    Earth::QuadPath tile;
    for (const char digit : digits) {
        const int row = digit >= '2' ? 1 : 0;
        const int col = digit == '1' || digit == '2' ? 1 : 0;
        tile = {tile.m_level + 1, 2 * tile.m_row + row, 2 * tile.m_col + col};
    }
    return tile;
}

} // namespace KxC::EarthTest
