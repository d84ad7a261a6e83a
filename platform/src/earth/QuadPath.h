// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

namespace KxC::Earth {

/// The deepest level of an address.
constexpr int kMaxLevel = 30;

/// A tile of the square of 360 x 360 degrees: level 0 to kMaxLevel, columns from the west, rows
/// from the south, both within the level.
struct QuadPath
{
    int m_level = 0;
    int m_row = 0;
    int m_col = 0;

    /// The quarter that leads from `level` - 1 to `level` on the way down to this tile: 0 south
    /// west, 1 south east, 2 north east, 3 north west.
    int Digit(int level) const;
    /// The tile of a coarser (or the same) level that contains this one.
    QuadPath Ancestor(int level) const;
    /// "0", then one digit a level.
    std::string Text() const;
};

/// The tile at an address.
/// @return nothing where the grid has no tile: outside its levels, columns and rows, or wholly
///         beyond a pole
std::optional<QuadPath> MakeQuadPath(int level, int row, int col);

/// A node's number within its quadtree packet.
class SubIndex
{
public:
    /// Numbers of a packet, 0 to this less 1.
    static constexpr int kCount = 341;

    /// The packet's top node.
    static SubIndex Top(bool isRootPacket) { return SubIndex(isRootPacket); }
    /// The number of a tile's node in the packet that describes it.
    static SubIndex Of(const QuadPath& tile);

    SubIndex Child(int digit) const;
    int Value() const { return m_base + m_local; }
    /// Levels below the packet's top.
    int Depth() const { return m_depth; }
    /// Levels below the top that the packet describes: 3 or 4.
    int MaxDepth() const { return m_isRootPacket ? 3 : 4; }

private:
    explicit SubIndex(bool isRootPacket) : m_isRootPacket(isRootPacket) {}

    bool m_isRootPacket;
    int m_depth = 0;
    int m_base = 0;  ///< of the quarter that the node lies in; the root packet is one piece
    int m_local = 0; ///< within it
};

/// The packets on the way to a tile are counted from 0, the root packet; this one describes nodes
/// of `level`.
constexpr int PacketOfLevel(int level)
{
    return level / 4;
}

/// The level of a packet's top node.
constexpr int TopLevelOfPacket(int packet)
{
    return packet == 0 ? 0 : 4 * packet - 1;
}

} // namespace KxC::Earth
