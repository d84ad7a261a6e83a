// SPDX-License-Identifier: MIT
#include "Grids.h"

#include <gtest/gtest.h>

#include <cmath>

namespace KxOrigin {
namespace {

TEST(WebMercatorGrid, AgreesWithMetresOnTheSphere)
{
    // EPSG method 1024: northing = R ln tan(45° + latitude / 2), R = 6378137 m.
    const Grid& grid = GridOf(GridKind::WebMercator);
    const double pi = std::acos(-1.0);
    const double half = pi * 6378137;
    for (const double latitude : {-85.0, -60.25, -1e-6, 0.0, 39.5, 66.0, 84.9}) {
        const double northing = 6378137 * std::log(std::tan(pi / 4 + latitude * pi / 360));
        EXPECT_NEAR(grid.Down(latitude), (half - northing) / (2 * half), 1e-14);
        EXPECT_NEAR(grid.Latitude((half - northing) / (2 * half)), latitude, 1e-12);
    }
}

TEST(WebMercatorGrid, EdgesAreTheWorlds)
{
    const Grid& grid = GridOf(GridKind::WebMercator);
    EXPECT_EQ(grid.Longitude(0), -180);
    EXPECT_EQ(grid.Longitude(1), 180);
    EXPECT_NEAR(grid.Latitude(0), 85.0511287798066, 1e-12);
    EXPECT_NEAR(grid.Latitude(1), -85.0511287798066, 1e-12);
    EXPECT_EQ(grid.Down(0), 0.5);
}

TEST(GeographicGrid, RealLatitudesFillTheMiddleHalf)
{
    const Grid& grid = GridOf(GridKind::Geographic);
    EXPECT_EQ(grid.Down(90), 0.25);
    EXPECT_EQ(grid.Down(-90), 0.75);
    EXPECT_EQ(grid.Latitude(0.25), 90);
    EXPECT_EQ(grid.Across(-90), 0.25);
    EXPECT_EQ(grid.Longitude(0.75), 90);
}

TEST(BaiduGrid, AMetreIsAPixelOfLevel18)
{
    // The vendor's sample: BD-09 (116.404, 39.915) is (12958175.00, 4825923.77).
    const Grid& grid = GridOf(GridKind::Baidu);
    const double side = 67108864;
    EXPECT_NEAR(grid.Across(116.404), 0.5 + 12958175.00 / side, 0.005 / side);
    EXPECT_NEAR(grid.Down(39.915), 0.5 - 4825923.77 / side, 0.005 / side);
    EXPECT_NEAR(grid.Longitude(0.5 + 12958160.97 / side), 116.403874, 1e-6);
    EXPECT_NEAR(grid.Latitude(0.5 - 4825907.72 / side), 39.914889, 1e-6);
    EXPECT_NEAR(grid.PixelsPerDegree(18), 111320.7, 0.1);
}

TEST(BaiduGrid, DegreesGoOnBeyondTheMapWithoutAStep)
{
    const Grid& grid = GridOf(GridKind::Baidu);
    const double side = 67108864;
    for (const int sign : {-1, 1}) {
        const double edge = 0.5 + sign * 20037726.37 / side;
        EXPECT_NEAR(grid.Longitude(edge - sign * 10 / side), sign * 180, 2e-4);
        EXPECT_NEAR(grid.Longitude(edge + sign * 10 / side), sign * 180, 2e-4);
        EXPECT_GT(sign * grid.Longitude(edge + sign * 10 / side), 180);
        const double top = 0.5 - sign * 12474104.18 / side;
        EXPECT_NEAR(grid.Latitude(top + sign * 10 / side), sign * 74, 1e-4);
        EXPECT_NEAR(grid.Latitude(top - sign * 10 / side), sign * 74, 1e-4);
        EXPECT_GT(sign * grid.Latitude(top - sign * 10 / side), 74);
    }
    EXPECT_FALSE(grid.Holds(0, 74.001));
    EXPECT_FALSE(grid.Holds(180.001, 0));
    EXPECT_TRUE(grid.Holds(-180, -74));
}

TEST(Grids, EveryLevelDoublesTheSide)
{
    EXPECT_EQ(SidePixels(0), 256);
    EXPECT_EQ(SidePixels(22), 1073741824);
}

} // namespace
} // namespace KxOrigin
