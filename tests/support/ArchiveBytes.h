// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace KxC {

/// The bytes of PMTiles archives as the format's description has them, right or wrong: what a test
/// asks for is what it gets.
namespace ArchiveBytes {

using Number = unsigned long long;

inline std::string Little(Number value, int bytes)
{
    std::string text;
    for (int i = 0; i < bytes; ++i, value >>= 8U)
        text += static_cast<char>(value & 0xFFU);
    return text;
}

inline std::string Varint(Number value)
{
    std::string text;
    for (; value > 127; value >>= 7U)
        text += static_cast<char>((value & 127U) | 128U);
    return text + static_cast<char>(value);
}

struct Entry
{
    Number m_id;
    Number m_offset;
    Number m_length;
    Number m_run = 1; ///< 0: a leaf
};

/// A directory without compression; offsets are always written out.
inline std::string Directory(const std::vector<Entry>& entries)
{
    std::string ids;
    std::string runs;
    std::string lengths;
    std::string offsets;
    Number last = 0;
    for (const Entry& entry : entries) {
        ids += Varint(entry.m_id - last);
        runs += Varint(entry.m_run);
        lengths += Varint(entry.m_length);
        offsets += Varint(entry.m_offset + 1);
        last = entry.m_id;
    }
    return Varint(entries.size()) + ids + runs + lengths + offsets;
}

/// An archive: header, root, leaves, tiles, in this order. What is not given follows from the rest.
struct Archive
{
    std::string m_root;
    std::string m_leaves;
    std::string m_tiles;
    int m_version = 3;
    int m_internal = 1; ///< none
    int m_tile = 1;     ///< none
    int m_type = 2;     ///< PNG
    int m_minLevel = 0;
    int m_maxLevel = 0;
    std::int32_t m_bounds[4] = {}; ///< west, south, east, north, in ten-millionths of a degree

    std::string Bytes() const
    {
        constexpr Number kHeader = 127;
        const Number leaves = kHeader + m_root.size();
        const Number tiles = leaves + m_leaves.size();
        std::string bytes = std::string("PMTiles") + static_cast<char>(m_version);
        bytes += Little(kHeader, 8) + Little(m_root.size(), 8);
        bytes += Little(leaves, 8) + Little(0, 8); // no metadata
        bytes += Little(leaves, 8) + Little(m_leaves.size(), 8);
        bytes += Little(tiles, 8) + Little(m_tiles.size(), 8);
        bytes += Little(0, 8) + Little(0, 8) + Little(0, 8); // counts: not known
        bytes += Little(0, 1);                               // in any order
        for (const int value : {m_internal, m_tile, m_type, m_minLevel, m_maxLevel})
            bytes += Little(static_cast<Number>(value), 1);
        for (const std::int32_t edge : m_bounds)
            bytes += Little(static_cast<std::uint32_t>(edge), 4);
        bytes += Little(0, 9); // the centre
        return bytes + m_root + m_leaves + m_tiles;
    }
};

} // namespace ArchiveBytes

} // namespace KxC
