// SPDX-License-Identifier: MIT
#include "TileOrder.h"

#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <map>
#include <random>

namespace KxC {

namespace {

std::map<unsigned long long, unsigned long long>
Sorted(std::size_t atOnce, int tiles, bool& inOrder)
{
    const TempFolder folder;
    TileOrder order(folder.File("tiles"), atOnce);
    std::mt19937 random(4711);
    for (int i = 0; i < tiles; ++i)
        order.Add({random() % 20000U, static_cast<unsigned int>(i), 1, 1, 0});
    std::map<unsigned long long, unsigned long long> numbers;
    inOrder = true;
    order.Visit([&](const WaitingTile& tile) {
        inOrder = inOrder && (numbers.empty() || numbers.rbegin()->first < tile.m_nTileId);
        numbers[tile.m_nTileId] = tile.m_nNumber;
    });
    return numbers;
}

/// The last of each, the plain way.
std::map<unsigned long long, unsigned long long> Expected(int tiles)
{
    std::map<unsigned long long, unsigned long long> numbers;
    std::mt19937 random(4711);
    for (int i = 0; i < tiles; ++i)
        numbers[random() % 20000U] = static_cast<unsigned int>(i);
    return numbers;
}

TEST(TileOrder, SortsWhateverFitsIntoMemory)
{
    constexpr int kTiles = 50000;
    // All at once; several stretches, of several readings each; very many; one tile a stretch.
    for (const std::size_t atOnce : {100000U, 12345U, 100U}) {
        bool inOrder = false;
        EXPECT_EQ(Sorted(atOnce, kTiles, inOrder), Expected(kTiles)) << atOnce;
        EXPECT_TRUE(inOrder) << atOnce;
    }
    bool inOrder = false;
    EXPECT_EQ(Sorted(1, 100, inOrder), Expected(100));
    EXPECT_TRUE(inOrder);
    EXPECT_TRUE(Sorted(10, 0, inOrder).empty());
}

} // namespace

} // namespace KxC
