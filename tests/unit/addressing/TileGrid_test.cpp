// SPDX-License-Identifier: MIT
#include "TileGrid.h"

#include "KxTileFetcher.h"
#include "TileNumbers.h"
#include "unit/support/ScriptedProjections.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <numbers>

namespace KxC {
namespace {

constexpr double kPi = std::numbers::pi;
constexpr double kDegree = kPi / 180;
constexpr double kHalf = 20037508.342789244;
constexpr double kRadius = 6378137.0;

GridPosition WebMercator(double longitude, double latitude, int level, int datum = 0)
{
    GridPosition at{};
    KxTileFetcher::GetWMColRow(at.m_col, at.m_row, longitude, latitude, level, datum);
    return at;
}

GridPosition Baidu(double longitude, double latitude, int level, int datum = 0)
{
    GridPosition at{};
    KxTileFetcher::GetBaiDuMapColRow(at.m_col, at.m_row, longitude, latitude, level, datum);
    return at;
}

/// Beijing in three systems, by gcoord 1.0.7.
constexpr double kWgs[] = {116.404, 39.915};
constexpr double kGcj[] = {116.41024449916938, 39.91640428150164};
constexpr double kPlane[] = {12959580.673891693, 4827036.86707346};

double MercatorY(double latitude)
{
    return std::asinh(std::tan(latitude * kDegree));
}

TEST(GetWMColRow, PutsTheOriginOnTheCornerOfTheLevelOneTiles)
{
    const GridPosition at = WebMercator(0, 0, 1);
    EXPECT_NEAR(at.m_col, 1.0, 1e-12);
    EXPECT_NEAR(at.m_row, 1.0, 1e-12);
}

TEST(GetWMColRow, HasNoRowAtAndBeyondThePoles)
{
    for (const double latitude : {-kPi / 2, kPi / 2 + 0.01, 2.0, -1.6}) {
        const GridPosition at = WebMercator(kPi / 2, latitude, 2);
        EXPECT_EQ(at.m_row, -1.0) << latitude;
        EXPECT_NEAR(at.m_col, 3.0, 1e-12) << "the column counts all the same";
    }
}

TEST(GetWMColRow, ShiftsTheDatumFirst)
{
    const double n = std::exp2(15);
    const GridPosition at = WebMercator(kWgs[0] * kDegree, kWgs[1] * kDegree, 15, 1);
    EXPECT_NEAR(at.m_col, (kGcj[0] + 180) / 360 * n, 1e-7);
    EXPECT_NEAR(at.m_row, (MercatorY(kGcj[1]) / kPi + 1) / 2 * n, 1e-7);
}

TEST(GetBaiDuMapColRow, DividesThePlaneIntoTilesOf256)
{
    const GridPosition at = Baidu(kWgs[0] * kDegree, kWgs[1] * kDegree, 18, 2);
    EXPECT_NEAR(at.m_col, kPlane[0] / 256, 1e-6);
    EXPECT_NEAR(at.m_row, kPlane[1] / 256, 1e-6);
    const GridPosition finer = Baidu(kWgs[0] * kDegree, kWgs[1] * kDegree, 20, 2);
    EXPECT_DOUBLE_EQ(finer.m_col, 4 * at.m_col);
    EXPECT_DOUBLE_EQ(finer.m_row, 4 * at.m_row);
}

TEST(GetBaiDuMapColRow, IsNegativeWestAndSouthOfThePlanesOrigin)
{
    const GridPosition at = Baidu(-70 * kDegree, -33 * kDegree, 18);
    EXPECT_LT(at.m_col, -1000);
    EXPECT_LT(at.m_row, -1000);
}

TEST(GetBaiDuMapColRow, HasNoPlaceBeyondThePlane)
{
    const GridPosition at = Baidu(1, 80 * kDegree, 5, 2);
    EXPECT_EQ(at.m_col, -1.0);
    EXPECT_EQ(at.m_row, -1.0);
}

TEST(GetColRow, StartsTheWebMercatorGridInTheSouthWest)
{
    for (int level = 0; level <= kMaxLevel; ++level) {
        GridPosition at{5, 5};
        KxTileFetcher::GetColRow(at.m_col, at.m_row, 3, -kHalf, -kHalf, level, 0);
        EXPECT_NEAR(at.m_col / std::exp2(level), 0, 1e-15);
        EXPECT_NEAR(at.m_row / std::exp2(level), 0, 1e-15);
    }
}

TEST(GetColRow, TakesTheGridOfTheScheme)
{
    const double x = 50 * kDegree * kRadius;
    const double y = MercatorY(20) * kRadius;
    for (const int scheme :
         {INT_MIN, -7, -1, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 99}) {
        const GridPosition at = SourceGrid{scheme, 0, 4}(x, y);
        const bool mercator = scheme == 3 || scheme == 6 || scheme == 10;
        const bool baidu = scheme == 4 || scheme == 13;
        const double row = mercator ? (MercatorY(20) / kPi + 1) * 8 : (20.0 + 180) / 360 * 16;
        const double col = baidu ? 111320.702 * 50 / 256 / std::exp2(14) : (50.0 + 180) / 360 * 16;
        EXPECT_NEAR(at.m_col, col, 1e-5) << scheme;
        if (!baidu) {
            EXPECT_NEAR(at.m_row, row, 1e-9) << scheme;
        }
    }
}

TEST(GetColRow, PutsTheEquatorIntoTheMiddleOfTheGeographicSquare)
{
    const GridPosition at = SourceGrid{0, 0, 0}(0, 0);
    EXPECT_DOUBLE_EQ(at.m_col, 0.5);
    EXPECT_DOUBLE_EQ(at.m_row, 0.5);
}

TEST(GetColRow, NeverShiftsTheGeographicGrid)
{
    const double x = kWgs[0] * kDegree * kRadius;
    const double y = MercatorY(kWgs[1]) * kRadius;
    for (const int datum : {1, 2}) {
        const GridPosition at = SourceGrid{9, datum, 20}(x, y);
        EXPECT_NEAR(at.m_col, (kWgs[0] + 180) / 360 * std::exp2(20), 1e-6);
        EXPECT_NEAR(at.m_row, (kWgs[1] + 180) / 360 * std::exp2(20), 1e-6);
    }
}

TEST(GetColRow, TakesAnyLevel)
{
    for (const int level : {INT_MIN, -1, 31, 32, INT_MAX})
        for (const int scheme : {0, 3, 4}) {
            const GridPosition at = SourceGrid{scheme, 2, level}(12958160.97, 4825907.72);
            EXPECT_FALSE(std::isnan(at.m_col)) << level;
        }
}

TEST(GetLLColRow2, PutsThePoleAtThreeQuartersOfTheSquare)
{
    // The scripted projection adds 1000 to x.
    const Testing::ScriptedProjections projections;
    KxCoordSysTrans transform;
    transform.Init("anything", ProjectStringType_WKT);
    GridPosition at{};
    KxTileFetcher::GetLLColRow2(at.m_col, at.m_row, &transform, -1000, 90, 0);
    EXPECT_DOUBLE_EQ(at.m_col, 0.5);
    EXPECT_DOUBLE_EQ(at.m_row, 0.75);
    KxTileFetcher::GetLLColRow2(at.m_col, at.m_row, &transform, -1135, -22.5, 3);
    EXPECT_DOUBLE_EQ(at.m_col, 1);
    EXPECT_DOUBLE_EQ(at.m_row, 3.5);
}

TEST(GetLLColRow2, TakesTheOriginForWhatIsNotConverted)
{
    KxCoordSysTrans transform;
    GridPosition at{};
    KxTileFetcher::GetLLColRow2(at.m_col, at.m_row, &transform, 12, 34, 1);
    EXPECT_EQ(at.m_col, 1);
    EXPECT_EQ(at.m_row, 1);
    KxTileFetcher::GetLLColRow2(at.m_col, at.m_row, nullptr, 12, 34, 1);
    EXPECT_EQ(at.m_col, -1);
    EXPECT_EQ(at.m_row, -1);
}

TEST(ExtentOf, CountsRowsFromTheNorth)
{
    const Extent extent = ExtentOf({1, 0, 1});
    EXPECT_NEAR(extent.m_minX, 0, 1e-6);
    EXPECT_NEAR(extent.m_minY, 0, 1e-6);
    EXPECT_NEAR(extent.m_maxX, kHalf, 1e-6);
    EXPECT_NEAR(extent.m_maxY, kHalf, 1e-6);
}

TEST(SourceLevel, RisesToTheNearestPowerOfTwo)
{
    const int sizes[][2] = {{256, 5},
                            {512, 6},
                            {1024, 7},
                            {384, 6},
                            {300, 5},
                            {362, 5},
                            {363, 6},
                            {255, 5},
                            {1, 5},
                            {8192, 10}};
    for (const auto& [size, level] : sizes)
        EXPECT_EQ(SourceLevel(5, size, 256), level) << size;
    EXPECT_EQ(SourceLevel(30, 8192, 1), 43);
}

} // namespace
} // namespace KxC
