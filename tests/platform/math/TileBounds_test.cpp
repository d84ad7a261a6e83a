// SPDX-License-Identifier: MIT
#include "KxMath.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

namespace KxC::Test {

namespace {

constexpr double kHalf = KxMath::kHalfWorld;

KxRect2d MetresOf(int level, int row, int col, bool fromSouth)
{
    KxRect2d rect;
    KxMath::CalcWMTileBounds(rect, level, row, col, fromSouth ? 1 : 0);
    return rect;
}

KxRect2d DegreesOf(int level, int row, int col)
{
    KxRect2d rect;
    KxMath::CalcTileBounds(rect, level, row, col);
    return rect;
}

void ExpectRect(const KxRect2d& is, const KxRect2d& wanted)
{
    EXPECT_EQ(is.m_dLeft, wanted.m_dLeft);
    EXPECT_EQ(is.m_dTop, wanted.m_dTop);
    EXPECT_EQ(is.m_dRight, wanted.m_dRight);
    EXPECT_EQ(is.m_dBottom, wanted.m_dBottom);
}

} // namespace

TEST(KxMathTileBounds, HasOneTileAtLevelZero)
{
    ExpectRect(MetresOf(0, 0, 0, false), {-kHalf, kHalf, kHalf, -kHalf});
    ExpectRect(MetresOf(0, 0, 0, true), {-kHalf, kHalf, kHalf, -kHalf});
    ExpectRect(DegreesOf(0, 0, 0), {-180, 180, 180, -180});
}

TEST(KxMathTileBounds, CountsRowsFromEitherSide)
{
    ExpectRect(MetresOf(1, 0, 1, false), {0, kHalf, kHalf, 0});
    ExpectRect(MetresOf(1, 0, 1, true), {0, 0, kHalf, -kHalf});
    ExpectRect(MetresOf(2, 1, 0, false), {-kHalf, kHalf / 2, -kHalf / 2, 0});
    for (int row = 0; row < 1 << 7; ++row)
        ExpectRect(MetresOf(7, row, 93, false), MetresOf(7, (1 << 7) - 1 - row, 93, true));
}

TEST(KxMathTileBounds, CountsGeographicRowsFromTheSquaresSouth)
{
    ExpectRect(DegreesOf(2, 0, 0), {-180, -90, -90, -180});
    ExpectRect(DegreesOf(2, 1, 3), {90, 0, 180, -90});
    ExpectRect(DegreesOf(3, 5, 4), {0, 90, 45, 45});
}

TEST(KxMathTileBounds, GivesWebMercatorTilesInDegreesToo)
{
    // Latitudes by the inverse Gudermannian: atan(sinh(y / R)).
    for (const int level : {0, 1, 5, 17, 30}) {
        const double count = std::exp2(level);
        const int col = static_cast<int>(count / 3);
        const int row = static_cast<int>(count / 5);
        KxRect2d rect;
        KxMath::CalcWMTileLatLonBounds(rect, level, row, col, 1);
        const auto latitude = [=](double edge) {
            const double y = (2 * edge / count - 1) * std::numbers::pi;
            return std::atan(std::sinh(y)) * 180 / std::numbers::pi;
        };
        EXPECT_DOUBLE_EQ(rect.m_dLeft, col * (360 / count) - 180) << level;
        EXPECT_DOUBLE_EQ(rect.m_dRight, (col + 1) * (360 / count) - 180) << level;
        EXPECT_NEAR(rect.m_dBottom, latitude(row), 1e-11) << level;
        EXPECT_NEAR(rect.m_dTop, latitude(row + 1), 1e-11) << level;
    }
    KxRect2d rect;
    KxMath::CalcWMTileLatLonBounds(rect, 3, 0, 7, 0);
    EXPECT_EQ(rect.m_dRight, 180.0) << "exactly";
    EXPECT_NEAR(rect.m_dTop, 85.0511287798066, 1e-12);
}

TEST(KxMathTileBounds, SharesEdgesWithItsNeighbours)
{
    for (const int level : {3, 17, 30})
        for (const int at : {0, 5, (1 << level) - 2}) {
            const KxRect2d tile = MetresOf(level, at, at, true);
            EXPECT_EQ(tile.m_dRight, MetresOf(level, at, at + 1, true).m_dLeft);
            EXPECT_EQ(tile.m_dTop, MetresOf(level, at + 1, at, true).m_dBottom);
            EXPECT_EQ(DegreesOf(level, at, at).m_dTop, DegreesOf(level, at + 1, at).m_dBottom);
        }
}

TEST(KxMathTileBounds, EndsExactlyAtTheSquaresEdge)
{
    const int last = (1 << 30) - 1;
    EXPECT_EQ(MetresOf(30, last, last, true).m_dRight, kHalf);
    EXPECT_EQ(MetresOf(30, last, last, true).m_dTop, kHalf);
    EXPECT_EQ(DegreesOf(30, last, last).m_dTop, 180.0);
}

TEST(KxMathTileBounds, CoversItsChildren)
{
    const KxRect2d parent = MetresOf(11, 700, 1301, true);
    const KxRect2d southWest = MetresOf(12, 1400, 2602, true);
    const KxRect2d northEast = MetresOf(12, 1401, 2603, true);
    EXPECT_EQ(parent.m_dLeft, southWest.m_dLeft);
    EXPECT_EQ(parent.m_dBottom, southWest.m_dBottom);
    EXPECT_EQ(parent.m_dRight, northEast.m_dRight);
    EXPECT_EQ(parent.m_dTop, northEast.m_dTop);
}

} // namespace KxC::Test
