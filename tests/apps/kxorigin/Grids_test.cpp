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

TEST(Grids, EveryLevelDoublesTheSide)
{
    EXPECT_EQ(SidePixels(0), 256);
    EXPECT_EQ(SidePixels(22), 1073741824);
}

} // namespace
} // namespace KxOrigin
