// SPDX-License-Identifier: MIT
// What a raster says of itself: system, size, bands, and where it lies about the antimeridian.
#include "KxRasterDescription.h"
#include "PluginFolder.h"
#include "RasterFixture.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

namespace KxC::Test {

namespace {

KxRasterDescription DescriptionOf(const std::string& path)
{
    KxRasterDescription description;
    const auto accessor = OpenedRaster(path);
    const auto* const describer = dynamic_cast<const KxRasterDescriber*>(accessor.get());
    if (describer == nullptr)
        ADD_FAILURE() << path << " has no description";
    else
        describer->Describe(description);
    return description;
}

KxRasterDescription DescriptionOf(const RasterSpec& spec)
{
    const TempFolder folder;
    WriteRaster(folder.File("a.tif"), spec);
    return DescriptionOf(folder.File("a.tif"));
}

RasterSpec In(const std::string& crs, const std::array<double, 6>& transform)
{
    RasterSpec spec;
    spec.m_crs = crs;
    spec.m_transform = transform;
    return spec;
}

/// What is known of a PNG with a world file.
KxRasterDescription DescriptionOfPicture(const std::string& world, const std::string& prj)
{
    const TempFolder folder;
    RasterSpec spec;
    spec.m_crs = "";
    spec.m_driver = "PNG";
    WriteRaster(folder.File("a.png"), spec);
    WriteFile(folder.Path() / "a.pgw", world);
    if (!prj.empty())
        WriteFile(folder.Path() / "a.prj", prj);
    return DescriptionOf(folder.File("a.png"));
}

constexpr char kDegrees[] = "0.01\n0\n0\n-0.01\n10.005\n49.995\n";
constexpr char kMetres[] = "1000\n0\n0\n-1000\n500500\n-500\n";

} // namespace

TEST(GdalRasterDescription, NamesTheCoordinateSystem)
{
    struct Case
    {
        const char* m_crs;
        std::array<double, 6> m_transform;
        const char* m_name; ///< as `projinfo` prints it
        int m_epsg;
    };
    for (const auto& [crs, transform, name, epsg] :
         {Case{"EPSG:4326", Upright(10, 50, 0.01, 0.01), "WGS 84", 4326},
          Case{"EPSG:32633", Upright(500000, 5540000, 10, 10), "WGS 84 / UTM zone 33N", 32633},
          Case{"EPSG:3857", Upright(0, 0, 10, 10), "WGS 84 / Pseudo-Mercator", 3857},
          Case{"EPSG:4258", Upright(10, 50, 0.01, 0.01), "ETRS89", 4258}}) {
        const KxRasterDescription description = DescriptionOf(In(crs, transform));
        EXPECT_STREQ(description.m_strCrsName.Cstr(), name);
        EXPECT_EQ(description.m_nEpsg, epsg);
        EXPECT_FALSE(description.m_bCrsAssumed);
    }
    // One that nobody has given a number.
    const auto own =
        DescriptionOf(In("+proj=laea +lat_0=12 +lon_0=34 +datum=WGS84", Upright(0, 0, 1000, 1000)));
    EXPECT_EQ(own.m_nEpsg, 0);
    EXPECT_STREQ(own.m_strCrsName.Cstr(), "has no name (Lambert Azimuthal Equal Area)");
    const auto utm =
        DescriptionOf(In("+proj=utm +zone=33 +ellps=WGS84", Upright(500000, 5540000, 10, 10)));
    EXPECT_STREQ(utm.m_strCrsName.Cstr(), "has no name (Transverse Mercator)");
}

TEST(GdalRasterDescription, FindsTheCodeOfAPrjFile)
{
    const KxRasterDescription description = DescriptionOfPicture(kMetres, kUtm33Esri);
    EXPECT_STREQ(description.m_strCrsName.Cstr(), "WGS 84 / UTM zone 33N");
    EXPECT_EQ(description.m_nEpsg, 32633);
    EXPECT_FALSE(description.m_bCrsAssumed);
}

TEST(GdalRasterDescription, SaysThatASystemIsAssumed)
{
    const KxRasterDescription degrees = DescriptionOfPicture(kDegrees, "");
    EXPECT_TRUE(degrees.m_bCrsAssumed);
    EXPECT_EQ(degrees.m_nEpsg, 4326);
    const KxRasterDescription metres = DescriptionOfPicture(kMetres, "");
    EXPECT_TRUE(metres.m_bCrsAssumed);
    EXPECT_EQ(metres.m_nEpsg, 3857);
}

TEST(GdalRasterDescription, TellsSizeAndBands)
{
    RasterSpec spec = In("EPSG:4326", Upright(10, 50, 0.1, 0.1));
    spec.m_width = 70;
    spec.m_height = 30;
    const KxRasterDescription colours = DescriptionOf(spec);
    EXPECT_EQ(colours.m_nWidth, 70);
    EXPECT_EQ(colours.m_nHeight, 30);
    EXPECT_EQ(colours.m_nBands, 3);
    EXPECT_STREQ(colours.m_strBandType.Cstr(), "Byte");
    spec.m_bands = 1;
    spec.m_type = GDT_Float32;
    const KxRasterDescription heights = DescriptionOf(spec);
    EXPECT_EQ(heights.m_nBands, 1);
    EXPECT_STREQ(heights.m_strBandType.Cstr(), "Float32");
}

TEST(GdalRasterDescription, KnowsRastersThatLieAcrossTheAntimeridian)
{
    const KxRasterDescription across = DescriptionOf(In("EPSG:4326", Upright(170, 10, 0.5, 0.1)));
    EXPECT_TRUE(across.m_bAcrossAntimeridian);
    EXPECT_NEAR(across.m_dWest, 170, 1e-9);
    EXPECT_NEAR(across.m_dEast, -158, 1e-9); // 170 + 64 / 2 - 360
    // UTM zone 1 begins at 180 degrees; its false easting leads 100 km further west.
    const KxRasterDescription utm =
        DescriptionOf(In("EPSG:32601", Upright(100000, 5540000, 3000, 100)));
    EXPECT_TRUE(utm.m_bAcrossAntimeridian);
    EXPECT_GT(utm.m_dWest, 177);
    EXPECT_LT(utm.m_dEast, -178);
    for (const auto& transform : {Upright(116, 10, 1, 0.1),      // to 180
                                  Upright(-180, 10, 0.5, 0.1),   // from -180
                                  Upright(-180, 90, 5.625, 2.5), // all around
                                  Upright(0, 90, 5.625, 2.5)})   // likewise
        EXPECT_FALSE(DescriptionOf(In("EPSG:4326", transform)).m_bAcrossAntimeridian)
            << transform[0];
    // A pole has all longitudes.
    EXPECT_FALSE(DescriptionOf(In("EPSG:3413", Upright(-320000, 320000, 10000, 10000)))
                     .m_bAcrossAntimeridian);
}

TEST(GdalRasterDescription, IsEmptyBeforeAFileIsOpen)
{
    const auto accessor = NewAccessor();
    const auto* const describer = dynamic_cast<const KxRasterDescriber*>(accessor.get());
    ASSERT_NE(describer, nullptr);
    KxRasterDescription description;
    describer->Describe(description);
    EXPECT_EQ(description.m_nWidth, 0);
    EXPECT_EQ(description.m_strCrsName.IsEmpty(), 1);
}

} // namespace KxC::Test
