// SPDX-License-Identifier: MIT
#include "PixelPositions.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace KxC {
namespace {

/// All of them, from the last block to the first.
std::vector<double> AllOf(const PixelPositions& positions)
{
    std::vector<double> all;
    std::vector<double> block;
    const std::size_t blocks =
        (positions.GetCount() + PixelPositions::kBlock - 1) / PixelPositions::kBlock;
    for (std::size_t i = blocks; i-- > 0;) {
        positions.Tell(i * PixelPositions::kBlock, block);
        all.insert(all.begin(), block.begin(), block.end());
    }
    return all;
}

TEST(PixelPositions, FromEdgeToEdgeAreSumsInWhateverBlockTheyLie)
{
    for (const int count : {2, 3, 4096, 4097, 4098, 4099, 8194, 8195, 20000}) {
        const double step = (0.9 - 0.2) / (count - 1);
        std::vector<double> sums{0.2};
        for (int i = 1; i < count; ++i)
            sums.push_back(sums.back() + step);
        sums.back() = 0.9 - step * 0.0001;
        ASSERT_EQ(AllOf(PixelPositions::EdgeToEdge(0.2, 0.9, count)), sums) << count;
    }
    EXPECT_EQ(AllOf(PixelPositions::EdgeToEdge(0.2, 0.9, 1)), std::vector<double>{0.2});
}

TEST(PixelPositions, OfCentresAreHalfAPixelFromTheEdges)
{
    const std::vector<double> all = AllOf(PixelPositions::Centres(-3, 7, 10000));
    ASSERT_EQ(all.size(), 10000U);
    for (int i = 0; i < 10000; ++i)
        ASSERT_NEAR(all[static_cast<std::size_t>(i)], -3 + (i + 0.5) / 1000, 1e-12);
    EXPECT_EQ(AllOf(PixelPositions::Centres(-3, 7, 1)), std::vector<double>{2});
}

TEST(PixelPositions, TellHowFarTheyAreFromEvenSpacing)
{
    const int count = 1000000;
    const std::vector<double> all = AllOf(PixelPositions::EdgeToEdge(0.2, 0.9, count));
    const auto last = static_cast<std::size_t>(count - 2);
    const double step = (all[last] - all[0]) / (count - 2);
    double most = 0;
    for (std::size_t i = 0; i < last; ++i)
        most = std::max(most, std::abs(all[i] - all[0] - step * static_cast<double>(i)) / step);
    EXPECT_GT(most, 0) << "sums of a million such steps are not even";
    EXPECT_NEAR(PixelPositions::EdgeToEdge(0.2, 0.9, count).GetWobble(), most, most * 1e-9);
    for (const int few : {1, 2})
        EXPECT_EQ(PixelPositions::EdgeToEdge(0, 1, few).GetWobble(), 0);
}

} // namespace
} // namespace KxC
