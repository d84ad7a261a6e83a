// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>

namespace KxTileHost::Serve {

/// In which format a tile is wanted.
enum class TileFormat : std::uint8_t {
    Natural, ///< as the library's own encode step, or the service, has it
    Png,
    Jpeg,
    WebP,
};

/// "png", "jpg", "webp"; empty for the natural one.
const char* ExtensionOf(TileFormat format);
/// "image/png" and so on; empty for the natural one.
const char* MimeOf(TileFormat format);

constexpr int kTileSize = 256;   ///< pixels, without "@2x"
constexpr int kMaxLevel = 30;    ///< of the library
constexpr int kUnknownLast = 22; ///< last level of sources that name none

/// A day as one number, year, month and day in decimal digits; 0 for none.
using DayNumber = int;

/// A tile as it was asked for; column from the west, row from the north.
struct TileRequest
{
    int m_z = 0;
    int m_x = 0;
    int m_y = 0;
    int m_size = kTileSize; ///< pixels
    TileFormat m_format = TileFormat::Natural;
    DayNumber m_day = 0;

    bool operator==(const TileRequest&) const = default;
};

/// An output tile of one state of a source.
struct TileKey
{
    unsigned m_generation = 0; ///< of the source
    TileRequest m_tile;

    bool operator==(const TileKey&) const = default;
};

struct TileKeyHash
{
    std::size_t operator()(const TileKey& key) const
    {
        const TileRequest& tile = key.m_tile;
        std::uint64_t hash = key.m_generation;
        for (const int part : {tile.m_z,
                               tile.m_x,
                               tile.m_y,
                               tile.m_size,
                               static_cast<int>(tile.m_format),
                               tile.m_day}) {
            hash ^= static_cast<std::uint32_t>(part);
            hash *= 0x9E3779B97F4A7C15U; // spreads what changes in the low bits over all
            hash ^= hash >> 29U;
        }
        return hash;
    }
};

} // namespace KxTileHost::Serve
