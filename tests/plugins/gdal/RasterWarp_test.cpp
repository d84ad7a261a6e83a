// SPDX-License-Identifier: MIT
// Tiles beside what GDAL's own program makes of the same grid.
#include "GdalWarpTool.h"
#include "support/TempFolder.h"
#include "support/TestData.h"

#include <gtest/gtest.h>

namespace KxC::Test {

namespace {

constexpr double kEnough = 0.99;

void ExpectAgreement(const std::string& raster, const std::string& overviews)
{
    const auto accessor = OpenedRaster(raster);
    ASSERT_NE(accessor, nullptr) << raster;
    int visible = 0;
    CompareLevels(
        raster, *accessor, overviews, [&](const Agreement& found, const std::string& where) {
            visible += found.m_visible;
            // A border's few pixels may each fall either way.
            EXPECT_GE(found.m_equal + 3, kEnough * found.m_visible) << where;
            EXPECT_GE(found.m_visibleAlike + 3, kEnough * kSide * kSide) << where;
        });
    EXPECT_GT(visible, 900) << raster; // one of the public ones is almost wholly transparent
}

RasterSpec Generated(const std::string& crs, double west, double north, double pixel)
{
    RasterSpec spec;
    spec.m_width = 700;
    spec.m_height = 600;
    spec.m_crs = crs;
    spec.m_transform = Upright(west, north, pixel, pixel);
    return spec;
}

void ExpectGeneratedAgreement(const RasterSpec& spec)
{
    const TempFolder folder;
    WriteRaster(folder.File("a.tif"), spec);
    ExpectAgreement(folder.File("a.tif"), "NONE");
}

void ExpectRealAgreement(const std::string& name, const std::string& overviews)
{
    const auto path = TestDataFile(name);
    if (!path)
        GTEST_SKIP() << kNoTestData;
    ExpectAgreement(*path, overviews);
}

} // namespace

TEST(GdalRasterWarp, AgreesInDegrees)
{
    ExpectGeneratedAgreement(Generated("EPSG:4326", 10.1, 50.2, 0.0013));
}

TEST(GdalRasterWarp, AgreesInUtm)
{
    ExpectGeneratedAgreement(Generated("EPSG:32633", 300000, 5600000, 270));
}

TEST(GdalRasterWarp, AgreesInWebMercator)
{
    ExpectGeneratedAgreement(Generated("EPSG:3857", 1e6, 6e6, 1000));
}

TEST(GdalRasterWarp, AgreesInAConicSystem)
{
    ExpectGeneratedAgreement(Generated("EPSG:2154", 100000, 7100000, 1500));
}

TEST(GdalRasterWarp, AgreesAroundAPole)
{
    ExpectGeneratedAgreement(Generated("EPSG:3413", -3e6, 3e6, 9000));
}

TEST(GdalRasterWarp, AgreesOnAnotherDatum)
{
    ExpectGeneratedAgreement(Generated("EPSG:26711", 500000, 4400000, 300));
}

TEST(GdalRasterWarp, AgreesWhereTheGeotransformIsRotated)
{
    RasterSpec spec = Generated("EPSG:32633", 500000, 5600000, 270);
    (*spec.m_transform)[2] = 90;
    (*spec.m_transform)[4] = 60;
    ExpectGeneratedAgreement(spec);
}

TEST(GdalRasterWarp, AgreesOnGroundControlPoints)
{
    RasterSpec spec = Generated("", 0, 0, 0);
    spec.m_transform.reset();
    spec.m_more = [](GDALDataset& dataset) {
        // No affine transform goes through them.
        GDAL_GCP points[7];
        const double places[7][4] = {{0, 0, 10, 50},
                                     {700, 0, 12, 50.1},
                                     {0, 600, 10.1, 48},
                                     {700, 600, 12, 48},
                                     {350, 300, 11, 49},
                                     {350, 0, 11, 50.1},
                                     {0, 300, 10.02, 49}};
        GDALInitGCPs(7, points);
        for (int i = 0; i < 7; ++i) {
            points[i].dfGCPPixel = places[i][0];
            points[i].dfGCPLine = places[i][1];
            points[i].dfGCPX = places[i][2];
            points[i].dfGCPY = places[i][3];
        }
        OGRSpatialReference crs;
        crs.importFromEPSG(4326);
        crs.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
        dataset.SetGCPs(7, points, &crs);
        GDALDeinitGCPs(7, points);
    };
    ExpectGeneratedAgreement(spec);
}

TEST(GdalRasterWarp, AgreesAcrossTheAntimeridian)
{
    ExpectGeneratedAgreement(Generated("EPSG:32660", 500000, 300000, 1000));
}

TEST(GdalRasterWarp, AgreesOnPublicRgbInUtm)
{
    ExpectRealAgreement("RGB.byte.tif", "AUTO");
}

TEST(GdalRasterWarp, AgreesOnThePublicWorld)
{
    ExpectRealAgreement("world.rgb.tif", "AUTO");
}

TEST(GdalRasterWarp, AgreesOnPublicShadeWithNoData)
{
    ExpectRealAgreement("shade.tif", "AUTO");
}

TEST(GdalRasterWarp, AgreesOnPublicRgbWithAlpha)
{
    ExpectRealAgreement("alpha.tif", "AUTO");
}

TEST(GdalRasterWarp, AgreesOnAPublicPaletteWithOverviews)
{
    ExpectRealAgreement("cog_cmap.tif", "AUTO");
}

} // namespace KxC::Test
