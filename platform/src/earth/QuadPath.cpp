// SPDX-License-Identifier: MIT
#include "QuadPath.h"

namespace KxC::Earth {

namespace {

constexpr int kNodesOfQuarter = 85; // 1 + 4 + 16 + 64

/// Whether some of the row lies between the poles, which are a quarter and three quarters up.
bool IsBetweenPoles(int level, int row)
{
    if (level < 2)
        return true;
    const int quarter = 1 << (level - 2);
    return row >= quarter && row < 3 * quarter;
}

} // namespace

int QuadPath::Digit(int level) const
{
    const int shift = m_level - level;
    const int rowBit = m_row >> shift & 1;
    const int colBit = m_col >> shift & 1;
    return 2 * rowBit + (rowBit ^ colBit);
}

QuadPath QuadPath::Ancestor(int level) const
{
    const int shift = m_level - level;
    return {level, m_row >> shift, m_col >> shift};
}

std::string QuadPath::Text() const
{
    std::string text = "0";
    for (int level = 1; level <= m_level; ++level)
        text += static_cast<char>('0' + Digit(level));
    return text;
}

std::optional<QuadPath> MakeQuadPath(int level, int row, int col)
{
    if (level < 0 || level > kMaxLevel)
        return {};
    const int tilesPerAxis = 1 << level;
    if (row < 0 || row >= tilesPerAxis || col < 0 || col >= tilesPerAxis ||
        !IsBetweenPoles(level, row))
        return {};
    return QuadPath{level, row, col};
}

SubIndex SubIndex::Of(const QuadPath& tile)
{
    const int packet = PacketOfLevel(tile.m_level);
    SubIndex index = Top(packet == 0);
    for (int level = TopLevelOfPacket(packet) + 1; level <= tile.m_level; ++level)
        index = index.Child(tile.Digit(level));
    return index;
}

/// The root packet numbers its nodes level by level. Every other one numbers its top node 0, and
/// then, in each of its quarters, level by level.
SubIndex SubIndex::Child(int digit) const
{
    SubIndex child = *this;
    ++child.m_depth;
    if (m_depth == 0 && !m_isRootPacket)
        child.m_base = 1 + kNodesOfQuarter * digit;
    else
        child.m_local = 4 * m_local + digit + 1;
    return child;
}

} // namespace KxC::Earth
