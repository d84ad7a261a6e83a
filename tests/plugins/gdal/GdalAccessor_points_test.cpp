// SPDX-License-Identifier: MIT
#include "PluginFolder.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <vector>

namespace KxC::Test {

namespace {

/// A place in some system, from
/// echo "<lat> <lon>" | cs2cs -f %.9f EPSG:4326 <system>
struct KnownPlace
{
    const char* system;
    double lon, lat;
    double x, y; ///< easting and northing, whichever of them cs2cs prints first
};

const KnownPlace kPlaces[] = {
    {"EPSG:32633", 14.25, 48.5, 444596.303120721, 5372147.167716050},
    {"EPSG:3413", -40.5, 75.25, 126033.128229199, -1601402.730820757},
    {"EPSG:3031", 100.0, -75.0, 1613886.438689900, -284571.722940527},
    {"EPSG:2154", 2.35, 48.85, 652301.564830528, 6861302.725899576},
    {"EPSG:3857", 2.35, 48.85, 261600.803364193, 6249447.752791280},
    {"EPSG:2193", 174.76, -36.85, 1756911.944850173, 5920321.818190336}, // prints northing first
    {"EPSG:3035", 5.0, 52.0, 3977921.175908300, 3221773.634434365},      // prints northing first
    {"EPSG:4326", 14.25, 48.5, 14.25, 48.5},
};

std::unique_ptr<KxRasterDataAccessor> AccessorOf(const char* system)
{
    std::unique_ptr<KxRasterDataAccessor> accessor = NewAccessor();
    if (accessor == nullptr || accessor->SetAuthority(system) == 0)
        return nullptr;
    return accessor;
}

bool Untouched(const KxPoint3d& point)
{
    return point.x == 7 && point.y == 8 && point.z == 9;
}

} // namespace

TEST(GdalAccessorPoints, ConvertsToEastingAndNorthing)
{
    for (const KnownPlace& place : kPlaces) {
        const auto accessor = AccessorOf(place.system);
        ASSERT_NE(accessor, nullptr);
        KxPoint3d out;
        accessor->WGS84PtToSrcPt({place.lon, place.lat, 0}, out);
        EXPECT_NEAR(out.x, place.x, 1e-6) << place.system;
        EXPECT_NEAR(out.y, place.y, 1e-6) << place.system;
    }
}

TEST(GdalAccessorPoints, ConvertsToLongitudeAndLatitude)
{
    for (const KnownPlace& place : kPlaces) {
        const auto accessor = AccessorOf(place.system);
        ASSERT_NE(accessor, nullptr);
        KxPoint3d point(place.x, place.y, 0);
        accessor->SrcPtToWGS84Pt(point, point);
        // A third of a millimetre is what PROJ's series for the inverse of EPSG:3035 leaves.
        EXPECT_NEAR(point.x, place.lon, 5e-9) << place.system;
        EXPECT_NEAR(point.y, place.lat, 5e-9) << place.system;
    }
}

TEST(GdalAccessorPoints, ReadsTheSameSystemFromOtherDialects)
{
    const std::unique_ptr<KxRasterDataAccessor> polar = NewAccessor();
    const std::unique_ptr<KxRasterDataAccessor> lambert = NewAccessor();
    ASSERT_TRUE(polar != nullptr && lambert != nullptr);
    ASSERT_NE(polar->SetWKT(kPolarWkt1.c_str()), 0);
    ASSERT_NE(lambert->SetEsriPrj(kLambertEsri.c_str()), 0);
    KxPoint3d out;
    polar->WGS84PtToSrcPt({-40.5, 75.25, 0}, out);
    EXPECT_NEAR(out.x, 126033.128229199, 1e-6);
    EXPECT_NEAR(out.y, -1601402.730820757, 1e-6);
    lambert->WGS84PtToSrcPt({2.35, 48.85, 0}, out);
    EXPECT_NEAR(out.x, 652301.564830528, 1e-6);
    EXPECT_NEAR(out.y, 6861302.725899576, 1e-6);
}

TEST(GdalAccessorPoints, LeavesTheOutputOfWhatCannotBeConverted)
{
    const double inf = std::numeric_limits<double>::infinity();
    const auto accessor = AccessorOf("EPSG:32633");
    ASSERT_NE(accessor, nullptr);
    for (const KxPoint3d& bad : {KxPoint3d(std::nan(""), 10, 0),
                                 KxPoint3d(10, std::nan(""), 0),
                                 KxPoint3d(inf, 10, 0),
                                 KxPoint3d(10, -inf, 0),
                                 KxPoint3d(10, 91, 0),
                                 KxPoint3d(1e300, 1e300, 0)}) {
        KxPoint3d out(7, 8, 9);
        accessor->WGS84PtToSrcPt(bad, out);
        EXPECT_TRUE(Untouched(out)) << bad.x << ' ' << bad.y;
    }
    KxPoint3d out(7, 8, 9);
    accessor->WGS84PtToSrcPt({14.25, 48.5, 0}, out); // and goes on
    EXPECT_NEAR(out.x, 444596.303120721, 1e-6);
}

TEST(GdalAccessorPoints, ConvertsNothingBeforeASystemIsSet)
{
    const std::unique_ptr<KxRasterDataAccessor> accessor = NewAccessor();
    ASSERT_NE(accessor, nullptr);
    KxPoint3d out(7, 8, 9);
    accessor->SrcPtToWGS84Pt({1, 2, 3}, out);
    accessor->WGS84PtToSrcPt({1, 2, 3}, out);
    accessor->SrcPtsToWGS84Pts(&out, &out, 1);
    EXPECT_TRUE(Untouched(out));
}

TEST(GdalAccessorPoints, ConvertsArraysAsItConvertsPoints)
{
    const auto accessor = AccessorOf("EPSG:3413");
    ASSERT_NE(accessor, nullptr);
    std::vector<KxPoint3d> in(300);
    for (std::size_t i = 0; i < in.size(); ++i) {
        const auto step = static_cast<double>(i);
        in[i] = {-45 + step * 0.1, i == 150 ? 95 : 60 + step * 0.05, step};
    }
    std::vector<KxPoint3d> out(in.size(), KxPoint3d(7, 8, 9));
    const int count = static_cast<int>(in.size());
    accessor->WGS84PtsToSrcPts(in.data(), out.data(), count);
    for (std::size_t i = 0; i < in.size(); ++i) {
        KxPoint3d single(7, 8, 9);
        accessor->WGS84PtToSrcPt(in[i], single);
        EXPECT_EQ(out[i].x, single.x);
        EXPECT_EQ(out[i].y, single.y);
        EXPECT_EQ(out[i].z, single.z);
    }
    EXPECT_TRUE(Untouched(out[150])); // no such latitude

    accessor->SrcPtsToWGS84Pts(out.data(), out.data(), 150);
    for (std::size_t i = 0; i < 150; ++i)
        EXPECT_NEAR(out[i].x, in[i].x, 1e-10);
    accessor->SrcPtsToWGS84Pts(nullptr, nullptr, 0);
    accessor->SrcPtsToWGS84Pts(nullptr, nullptr, -1);
}

} // namespace KxC::Test
