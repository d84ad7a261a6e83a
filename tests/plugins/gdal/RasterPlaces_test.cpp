// SPDX-License-Identifier: MIT
// Where rasters lie: world files, systems that are missing, the edges of the world.
#include "RasterFixture.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

namespace KxC::Test {

namespace {

RasterSpec Picture()
{
    RasterSpec spec;
    spec.m_crs = "";
    spec.m_driver = "PNG";
    return spec;
}

/// The deepest tile that holds a place, and the colour there.
Rgba ColourAt(KxRasterDataAccessor& accessor, double longitude, double latitude)
{
    const int level = accessor.GetMaxLevel();
    const double degrees = Grid::TileDegrees(level);
    const int row = Grid::Row(level, latitude);
    const int column = Grid::Column(level, longitude);
    return Tile(accessor, level, row, column)
        .At(static_cast<int>((latitude + 180 - row * degrees) / degrees * kSide),
            static_cast<int>((longitude + 180 - column * degrees) / degrees * kSide));
}

} // namespace

TEST(GdalRasterPlaces, APictureWithoutPlaceDoesNotOpen)
{
    const TempFolder folder;
    WriteRaster(folder.File("a.png"), Picture());
    EXPECT_EQ(OpenedRaster(folder.File("a.png")), nullptr);
}

TEST(GdalRasterPlaces, AWorldFileBesideAPictureIsItsPlace)
{
    for (const auto& [driver, picture, world] : {std::array{"PNG", "a.png", "a.pgw"},
                                                 {"PNG", "a.png", "a.wld"},
                                                 {"JPEG", "a.jpg", "a.jgw"},
                                                 {"GTiff", "a.tif", "a.tfw"}}) {
        const TempFolder folder;
        RasterSpec spec = Picture();
        spec.m_driver = driver;
        WriteRaster(folder.File(picture), spec);
        // Centre of the first pixel: the north-west corner is 10 E 50 N.
        WriteFile(folder.Path() / world, "0.01\n0\n0\n-0.01\n10.005\n49.995\n");
        const auto accessor = OpenedRaster(folder.File(picture));
        ASSERT_NE(accessor, nullptr) << world;
        EXPECT_EQ(accessor->GetGeoReferenceType(), KxEGeoReferenceType_Geographic);
        EXPECT_NEAR(accessor->GetLatLonBounds().m_dLeft, 10, 1e-9);
        EXPECT_NEAR(accessor->GetLatLonBounds().m_dTop, 50, 1e-9);
        EXPECT_NEAR(accessor->GetLatLonBounds().m_dRight, 10.64, 1e-9);
        if (std::string(driver) == "JPEG")
            continue; // keeps no pixel as it was
        EXPECT_EQ(ColourAt(*accessor, 10.205, 49.905), PlaceColour(20, 9)) << world;
    }
}

TEST(GdalRasterPlaces, AWorldFileInMetresIsWebMercator)
{
    const TempFolder folder;
    WriteRaster(folder.File("a.png"), Picture());
    WriteFile(folder.Path() / "a.pgw", "1000\n0\n0\n-1000\n500\n-500\n");
    const auto accessor = OpenedRaster(folder.File("a.png"));
    ASSERT_NE(accessor, nullptr);
    EXPECT_EQ(accessor->GetGeoReferenceType(), KxEGeoReferenceType_Projected);
    EXPECT_NEAR(accessor->GetLatLonBounds().m_dRight, 64000 / 111319.49079327358, 1e-9);
}

TEST(GdalRasterPlaces, AWorldFileBeyondTheWorldIsNone)
{
    const TempFolder folder;
    WriteRaster(folder.File("a.png"), Picture());
    WriteFile(folder.Path() / "a.pgw", "1000\n0\n0\n-1000\n50000000\n-500\n");
    EXPECT_EQ(OpenedRaster(folder.File("a.png")), nullptr);
    WriteFile(folder.Path() / "a.pgw", "not a\nworld file\n");
    EXPECT_EQ(OpenedRaster(folder.File("a.png")), nullptr);
}

TEST(GdalRasterPlaces, APrjFileBesideAWorldFileIsItsSystem)
{
    const TempFolder folder;
    WriteRaster(folder.File("a.png"), Picture());
    WriteFile(folder.Path() / "a.pgw", "1000\n0\n0\n-1000\n500500\n-500\n");
    WriteFile(folder.Path() / "a.prj",
              R"(PROJCS["WGS_1984_UTM_Zone_33N",GEOGCS["GCS_WGS_1984",DATUM["D_WGS_1984",)"
              R"(SPHEROID["WGS_1984",6378137.0,298.257223563]],PRIMEM["Greenwich",0.0],)"
              R"(UNIT["Degree",0.0174532925199433]],PROJECTION["Transverse_Mercator"],)"
              R"(PARAMETER["False_Easting",500000.0],PARAMETER["False_Northing",0.0],)"
              R"(PARAMETER["Central_Meridian",15.0],PARAMETER["Scale_Factor",0.9996],)"
              R"(PARAMETER["Latitude_Of_Origin",0.0],UNIT["Meter",1.0]])");
    const auto accessor = OpenedRaster(folder.File("a.png"));
    ASSERT_NE(accessor, nullptr);
    EXPECT_NEAR(accessor->GetLatLonBounds().m_dLeft, 15, 1e-6); // the zone's middle
    EXPECT_NEAR(accessor->GetLatLonBounds().m_dTop, 0, 1e-6);
}

TEST(GdalRasterPlaces, LongitudesBeyond180AreThoseToTheWest)
{
    const TempFolder folder;
    RasterSpec spec;
    spec.m_width = 360;
    spec.m_height = 180;
    spec.m_transform = Upright(0, 90, 1, 1);
    WriteRaster(folder.File("a.tif"), spec);
    const auto accessor = OpenedRaster(folder.File("a.tif"));
    ASSERT_NE(accessor, nullptr);
    EXPECT_DOUBLE_EQ(accessor->GetLatLonBounds().m_dLeft, -180);
    EXPECT_DOUBLE_EQ(accessor->GetLatLonBounds().m_dRight, 180);
    EXPECT_EQ(ColourAt(*accessor, 20.3, 10.3), PlaceColour(20, 79));
    EXPECT_EQ(ColourAt(*accessor, -20.3, 10.3), PlaceColour(339, 79));
    EXPECT_EQ(ColourAt(*accessor, -179.9, -89.9), PlaceColour(180, 179));
}

TEST(GdalRasterPlaces, RastersReachAcrossTheAntimeridian)
{
    const TempFolder folder;
    RasterSpec spec;
    spec.m_width = 200;
    spec.m_height = 100;
    spec.m_transform = Upright(170, 10, 0.1, 0.1);
    WriteRaster(folder.File("degrees.tif"), spec);
    const auto degrees = OpenedRaster(folder.File("degrees.tif"));
    ASSERT_NE(degrees, nullptr);
    EXPECT_EQ(ColourAt(*degrees, 175.05, 5.05), PlaceColour(50, 49));
    EXPECT_EQ(ColourAt(*degrees, -175.05, 5.05), PlaceColour(149, 49));
    EXPECT_EQ(ColourAt(*degrees, 0, 5.05)[3], 0);
    // The same in metres: x goes on beyond the edge of the Web Mercator square.
    spec.m_crs = "EPSG:3857";
    const double degree = 111319.49079327358;
    spec.m_transform = Upright(170 * degree, 0, 0.1 * degree, 0.1 * degree);
    WriteRaster(folder.File("metres.tif"), spec);
    const auto metres = OpenedRaster(folder.File("metres.tif"));
    ASSERT_NE(metres, nullptr);
    EXPECT_EQ(ColourAt(*metres, 175.05, -0.05), PlaceColour(50, 0));
    EXPECT_EQ(ColourAt(*metres, -175.05, -0.05), PlaceColour(149, 0));
}

TEST(GdalRasterPlaces, APoleInsideARasterIsReached)
{
    const TempFolder folder;
    RasterSpec spec;
    spec.m_width = 200;
    spec.m_height = 200;
    spec.m_crs = "EPSG:3031"; // around the south pole, which is its origin
    spec.m_transform = Upright(-1e6, 1e6, 1e4, 1e4);
    WriteRaster(folder.File("a.tif"), spec);
    const auto accessor = OpenedRaster(folder.File("a.tif"));
    ASSERT_NE(accessor, nullptr);
    const KxRect2d bounds = accessor->GetLatLonBounds();
    EXPECT_DOUBLE_EQ(bounds.m_dLeft, -180);
    EXPECT_DOUBLE_EQ(bounds.m_dRight, 180);
    EXPECT_DOUBLE_EQ(bounds.m_dBottom, -90);
    EXPECT_EQ(accessor->GetMinLevel(), 0);
    // A little off the pole along 45 E, which is up and right on this map.
    EXPECT_EQ(ColourAt(*accessor, 45, -89.98), PlaceColour(100, 99));
    // The square's half below the south pole is no place.
    EXPECT_FALSE(Tile(*accessor, 2, 0, 0).IsThere());
}

TEST(GdalRasterPlaces, ARasterInNoSystemOfTheEarthDoesNotOpen)
{
    const TempFolder folder;
    RasterSpec spec;
    spec.m_crs = R"(LOCAL_CS["a drawing",UNIT["metre",1]])";
    spec.m_transform = Upright(0, 0, 1, 1);
    WriteRaster(folder.File("a.tif"), spec);
    EXPECT_EQ(OpenedRaster(folder.File("a.tif")), nullptr);
}

TEST(GdalRasterPlaces, HeightsPlayNoPart)
{
    const TempFolder folder;
    RasterSpec spec;
    spec.m_crs = "EPSG:4326+5773";
    spec.m_transform = Upright(10, 50, 0.01, 0.01);
    WriteRaster(folder.File("a.tif"), spec);
    const auto accessor = OpenedRaster(folder.File("a.tif"));
    ASSERT_NE(accessor, nullptr);
    EXPECT_EQ(ColourAt(*accessor, 10.205, 49.905), PlaceColour(20, 9));
}

TEST(GdalRasterPlaces, RowsMayRunNorth)
{
    const TempFolder folder;
    RasterSpec spec;
    spec.m_transform = Upright(10, 40, 0.01, -0.01);
    WriteRaster(folder.File("a.tif"), spec);
    const auto accessor = OpenedRaster(folder.File("a.tif"));
    ASSERT_NE(accessor, nullptr);
    EXPECT_EQ(ColourAt(*accessor, 10.205, 40.095), PlaceColour(20, 9));
}

} // namespace KxC::Test
