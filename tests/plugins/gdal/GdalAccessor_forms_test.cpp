// SPDX-License-Identifier: MIT
// The six forms of a projection string, right and wrong, through the tile library.
#include "KxCoordSysTrans.h"
#include "PluginFolder.h"
#include "support/TempFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace KxC::Test {

namespace {

/// Easting and northing of a place in UTM zone 33, from
/// echo "48.5 14.25" | cs2cs -f %.9f EPSG:4326 EPSG:32633
constexpr double kLon = 14.25;
constexpr double kLat = 48.5;
constexpr double kEasting = 444596.303120721;
constexpr double kNorthing = 5372147.167716050;

KxCoordSysTrans& Transform(const std::string& text, ProjectStringType type)
{
    UseBuiltPlugin();
    return *m_gCoordSysTransManager.GetKxCoordSysTrans(text.c_str(), type);
}

void ExpectUtm33(const std::string& text, ProjectStringType type)
{
    const KxCoordSysTrans& transform = Transform(text, type);
    EXPECT_STREQ(transform.GetError().Cstr(), "");
    KxPoint3d projected;
    transform.WGS84PtToSrcPt({kLon, kLat, 12.5}, projected);
    EXPECT_NEAR(projected.x, kEasting, 1e-6) << text;
    EXPECT_NEAR(projected.y, kNorthing, 1e-6) << text;
    EXPECT_EQ(projected.z, 12.5);
    KxPoint3d geographic;
    transform.SrcPtToWGS84Pt({kEasting, kNorthing, 0}, geographic);
    EXPECT_NEAR(geographic.x, kLon, 1e-11) << text;
    EXPECT_NEAR(geographic.y, kLat, 1e-11) << text;
}

void ExpectRefused(const std::string& text, ProjectStringType type, const std::string& reason)
{
    const KxCoordSysTrans& transform = Transform(text, type);
    EXPECT_THAT(transform.GetError().Cstr(), testing::HasSubstr(reason)) << text;
    KxPoint3d out(7, 8, 9);
    transform.SrcPtToWGS84Pt({500000, 5000000, 0}, out);
    transform.WGS84PtToSrcPt({15, 48, 0}, out);
    EXPECT_EQ(out.x, 7);
    EXPECT_EQ(out.y, 8);
    EXPECT_EQ(out.z, 9);
}

} // namespace

TEST(GdalAccessor, TakesWktOfAnyDialect)
{
    ExpectUtm33(kUtm33Wkt2, ProjectStringType_WKT);
    ExpectUtm33(kUtm33Esri, ProjectStringType_WKT);
    ExpectUtm33("\n  " + kUtm33Wkt2 + "\r\n", ProjectStringType_WKT);
}

TEST(GdalAccessor, TakesProjStrings)
{
    ExpectUtm33("+proj=utm +zone=33 +datum=WGS84 +units=m +no_defs", ProjectStringType_Proj4);
    ExpectUtm33("+proj=utm +zone=33 +datum=WGS84 +type=crs", ProjectStringType_Proj4);
    ExpectUtm33("proj=utm zone=33 datum=WGS84", ProjectStringType_Proj4);
    ExpectUtm33("+init=epsg:32633", ProjectStringType_Proj4);
}

TEST(GdalAccessor, TakesEpsgCodes)
{
    ExpectUtm33("32633", ProjectStringType_EPSG);
    ExpectUtm33("EPSG:32633", ProjectStringType_EPSG);
    ExpectUtm33(" epsg:32633 ", ProjectStringType_EPSG);
}

TEST(GdalAccessor, TakesEsriTexts)
{
    ExpectUtm33(kUtm33Esri, ProjectStringType_EsriPrj);
    ExpectUtm33("\xEF\xBB\xBF" + kUtm33Esri, ProjectStringType_EsriPrj);
}

TEST(GdalAccessor, TakesAuthoritiesAndCodes)
{
    ExpectUtm33("EPSG:32633", ProjectStringType_Authority);
    ExpectUtm33("epsg:32633", ProjectStringType_Authority);
    EXPECT_STREQ(Transform("ESRI:54030", ProjectStringType_Authority).GetError().Cstr(), "");
    EXPECT_STREQ(Transform("OGC:CRS84", ProjectStringType_Authority).GetError().Cstr(), "");
}

TEST(GdalAccessor, TakesPrjFiles)
{
    const TempFolder folder;
    WriteFile(folder.Path() / "utm.prj", kUtm33Esri);
    ExpectUtm33(folder.File("utm.prj"), ProjectStringType_PrjFile);
}

TEST(GdalAccessor, SaysWhyATextWasNotTaken)
{
    ExpectRefused("", ProjectStringType_WKT, "empty");
    ExpectRefused(" \n", ProjectStringType_Proj4, "empty");
    ExpectRefused("PROJCS[", ProjectStringType_WKT, "WKT");
    ExpectRefused("EPSG:32633", ProjectStringType_WKT, "WKT");
    ExpectRefused("EPSG:32633", ProjectStringType_Proj4, "+proj=utm +zone=33");
    ExpectRefused("+proj=nonsense", ProjectStringType_Proj4, "nonsense");
    ExpectRefused("4326x", ProjectStringType_EPSG, "write \"4326\"");
    ExpectRefused("EPSG:", ProjectStringType_EPSG, "write \"4326\"");
    ExpectRefused("99999", ProjectStringType_EPSG, "EPSG:99999");
    ExpectRefused("99999999999999999999", ProjectStringType_EPSG, "database");
    ExpectRefused("54030", ProjectStringType_Authority, "AUTHORITY:CODE");
    ExpectRefused(":54030", ProjectStringType_Authority, "AUTHORITY:CODE");
    ExpectRefused("ESRI:", ProjectStringType_Authority, "AUTHORITY:CODE");
    ExpectRefused("NOBODY:1", ProjectStringType_Authority, "NOBODY:1");
    ExpectRefused("/nowhere/at.prj", ProjectStringType_PrjFile, "/nowhere/at.prj");
    ExpectRefused("/tmp", ProjectStringType_PrjFile, "cannot be read");
}

TEST(GdalAccessor, RefusesWhatIsNoCoordinateSystem)
{
    ExpectRefused(R"(ELLIPSOID["GRS 1980",6378137,298.257222101,LENGTHUNIT["metre",1]])",
                  ProjectStringType_WKT,
                  "coordinate system");
    ExpectRefused("+proj=pipeline +step +proj=utm +zone=33", ProjectStringType_Proj4, "operations");
    // A height above the sea is nowhere in particular.
    ExpectRefused("5703", ProjectStringType_EPSG, "places");
}

TEST(GdalAccessor, BoundsWhatItReads)
{
    const std::string endless(1 << 20, '[');
    ExpectRefused("GEOGCS" + endless, ProjectStringType_WKT, "too long");
    ExpectRefused(std::string(5000, '[').insert(0, "GEOGCS"), ProjectStringType_WKT, "WKT");
    const TempFolder folder;
    WriteFile(folder.Path() / "endless.prj", endless);
    ExpectRefused(folder.File("endless.prj"), ProjectStringType_PrjFile, "too long");
}

TEST(GdalAccessor, KeepsTheSystemItHasWhenTheNextIsRefused)
{
    const std::unique_ptr<KxRasterDataAccessor> accessor = NewAccessor();
    ASSERT_NE(accessor, nullptr);
    ASSERT_NE(accessor->SetEPSG("32633"), 0);
    EXPECT_EQ(accessor->SetEPSG("99999"), 0);
    EXPECT_EQ(accessor->GetProjectionError().IsEmpty(), 0);
    EXPECT_EQ(accessor->SetWKT(nullptr), 0);
    KxPoint3d out;
    accessor->WGS84PtToSrcPt({kLon, kLat, 0}, out);
    EXPECT_NEAR(out.x, kEasting, 1e-6);
    ASSERT_NE(accessor->SetEPSG("3857"), 0);
    EXPECT_EQ(accessor->GetProjectionError().IsEmpty(), 1);
}

TEST(GdalAccessor, ReadsNoRasters)
{
    const std::unique_ptr<KxRasterDataAccessor> accessor = NewAccessor();
    ASSERT_NE(accessor, nullptr);
    EXPECT_NE(accessor->Initialize(), 0);
    EXPECT_NE(accessor->IsAvailable(), 0);
    EXPECT_EQ(accessor->Open("/nowhere/at.tif"), 0);
    KxImageData* image = nullptr;
    accessor->ReadTileImage(image, 0, 0, 0);
    EXPECT_EQ(image, nullptr);
    unsigned char* bytes = nullptr;
    unsigned int size = 1;
    EXPECT_NE(accessor->ReadTileData(0, 0, 0, bytes, size), 5);
    EXPECT_EQ(bytes, nullptr);
    EXPECT_EQ(size, 0U);
}

} // namespace KxC::Test
