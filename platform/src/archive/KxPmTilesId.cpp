// SPDX-License-Identifier: MIT
#include "KxPmTiles.h"

#include <bit>
#include <utility>

namespace KxC {

namespace {

using Id = unsigned long long;

/// Tiles of all levels above `level`: (4^level - 1) / 3.
constexpr Id FirstIdOf(int level)
{
    return ((Id{1} << (2 * static_cast<unsigned int>(level))) - 1) / 3;
}

struct Cell
{
    Id m_nCol;
    Id m_nRow; ///< counted from the north
};

/// Turns a quarter of side `side` as the curve runs through it.
void TurnQuarter(Id side, bool east, bool south, Cell& cell)
{
    if (south)
        return;
    if (east)
        cell = {side - 1 - cell.m_nCol, side - 1 - cell.m_nRow};
    std::swap(cell.m_nCol, cell.m_nRow);
}

Id CurvePosition(int level, Cell cell)
{
    Id position = 0;
    for (Id side = (Id{1} << static_cast<unsigned int>(level)) / 2; side > 0; side /= 2) {
        const bool east = (cell.m_nCol & side) != 0;
        const bool south = (cell.m_nRow & side) != 0;
        // The curve visits north-west, south-west, south-east, north-east.
        position += side * side * ((east ? 3U : 0U) ^ (south ? 1U : 0U));
        cell = {cell.m_nCol & (side - 1), cell.m_nRow & (side - 1)};
        TurnQuarter(side, east, south, cell);
    }
    return position;
}

Cell CurveCell(int level, Id position)
{
    Cell cell{0, 0};
    const Id edge = Id{1} << static_cast<unsigned int>(level);
    for (Id side = 1; side < edge; side *= 2) {
        const bool east = (position & 2U) != 0;
        const bool south = ((position & 1U) != 0) != east;
        TurnQuarter(side, east, south, cell);
        cell = {cell.m_nCol + (east ? side : 0), cell.m_nRow + (south ? side : 0)};
        position /= 4;
    }
    return cell;
}

} // namespace

bool KxPmTiles::TileIdOf(int level, int row, int col, unsigned long long& id)
{
    if (level < 0 || level > kMaxLevel)
        return false;
    const int edge = 1 << level;
    if (row < 0 || row >= edge || col < 0 || col >= edge)
        return false;
    const Cell cell{static_cast<Id>(col), static_cast<Id>(edge - 1 - row)};
    id = FirstIdOf(level) + CurvePosition(level, cell);
    return true;
}

bool KxPmTiles::PlaceOf(unsigned long long id, int& level, int& row, int& col)
{
    if (id >= FirstIdOf(kMaxLevel + 1))
        return false;
    // Level L begins at (4^L - 1) / 3, so that 3 id + 1 lies between 4^L and 4^(L + 1).
    level = static_cast<int>((std::bit_width(3 * id + 1) - 1) / 2);
    const Cell cell = CurveCell(level, id - FirstIdOf(level));
    row = (1 << level) - 1 - static_cast<int>(cell.m_nRow);
    col = static_cast<int>(cell.m_nCol);
    return true;
}

} // namespace KxC
