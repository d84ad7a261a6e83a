// SPDX-License-Identifier: MIT
#include "DatumVectors.h"
#include "KxMath.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

namespace KxC::Test {

namespace {

constexpr double kTolerance = 1e-11; ///< degrees

/// A position in degrees.
struct Place
{
    double lon;
    double lat;
};

Place Shift(int datum, Place at)
{
    Place to = {};
    KxMath::GetDeviationCoord(datum, at.lon * kRadian, at.lat * kRadian, to.lon, to.lat);
    return {to.lon / kRadian, to.lat / kRadian};
}

Place Unshift(int datum, Place at)
{
    Place to = {};
    KxMath::RemoveDeviationCoord(datum, at.lon * kRadian, at.lat * kRadian, to.lon, to.lat);
    return {to.lon / kRadian, to.lat / kRadian};
}

void ExpectPlace(Place is, Place wanted, double tolerance = kTolerance)
{
    EXPECT_NEAR(is.lon, wanted.lon, tolerance);
    EXPECT_NEAR(is.lat, wanted.lat, tolerance);
}

/// BD-09's second step, by polar coordinates in long double.
Place PolarStep(Place gcj)
{
    const long double wave = std::acos(-1.0L) * 3000 / 180;
    const long double lon = gcj.lon;
    const long double lat = gcj.lat;
    const long double r = std::hypot(lon, lat) + 0.00002L * std::sin(lat * wave);
    const long double theta = std::atan2(lat, lon) + 0.000003L * std::cos(lon * wave);
    return {static_cast<double>(r * std::cos(theta) + 0.0065L),
            static_cast<double>(r * std::sin(theta) + 0.006L)};
}

/// Points of the box that the shift leaves in it, and which therefore can be shifted back.
class RandomPlaces
{
public:
    Place Next() { return {m_lon(m_engine), m_lat(m_engine)}; }

private:
    std::mt19937 m_engine{20240607};
    std::uniform_real_distribution<> m_lon{72.004, 137.8347 - 0.0091};
    std::uniform_real_distribution<> m_lat{0.8293, 55.8271 - 0.0029};
};

} // namespace

TEST(KxMathDatumShift, AgreesWithThePublishedVectors)
{
    ASSERT_EQ(DatumVectors().size(), 243U);
    for (const DatumVector& row : DatumVectors()) {
        SCOPED_TRACE(testing::PrintToString(row));
        ExpectPlace(Shift(KxDatum_GCJ02, {row.lon, row.lat}), {row.gcjLon, row.gcjLat});
        ExpectPlace(Shift(KxDatum_BD09, {row.lon, row.lat}), {row.bdLon, row.bdLat});
    }
}

TEST(KxMathDatumShift, ShiftsNothingOutsideTheBox)
{
    for (const Place at : {Place{72.0039, 40},
                           {137.8348, 40},
                           {100, 0.8292},
                           {100, 55.8272},
                           {-116.4, -39.9},
                           {0, 0}}) {
        Place to = {};
        KxMath::GetDeviationCoord(
            KxDatum_GCJ02, at.lon * kRadian, at.lat * kRadian, to.lon, to.lat);
        EXPECT_EQ(to.lon, at.lon * kRadian);
        EXPECT_EQ(to.lat, at.lat * kRadian);
    }
}

TEST(KxMathDatumShift, ShiftsAtBothEndsOfTheBox)
{
    for (const Place at : {Place{72.004, 40}, {137.8347, 40}, {100, 0.8293}, {100, 55.8271}})
        EXPECT_GT(Shift(KxDatum_GCJ02, at).lon - at.lon, 0.0005) << at.lon << ' ' << at.lat;
}

TEST(KxMathDatumShift, TakesTheSecondStepEverywhere)
{
    for (const Place at : {Place{0, 0}, {-179, -89}, {179, 89}, {-0.5, 0.25}, {10, -60}, {0, 1}})
        ExpectPlace(Shift(KxDatum_BD09, at), PolarStep(at), 1e-13);
}

TEST(KxMathDatumShift, LeavesOtherDatumsAsTheyAre)
{
    for (const int datum : {KxDatum_WGS84 + 0, -1, 3, 1000}) {
        Place to = {};
        KxMath::GetDeviationCoord(datum, 2.03, 0.7, to.lon, to.lat);
        EXPECT_EQ(to.lon, 2.03);
        EXPECT_EQ(to.lat, 0.7);
        KxMath::RemoveDeviationCoord(datum, 2.04, 0.71, to.lon, to.lat);
        EXPECT_EQ(to.lon, 2.04);
        EXPECT_EQ(to.lat, 0.71);
    }
}

TEST(KxMathDatumShift, GivesNotANumberForWhatIsNone)
{
    const double inf = std::numeric_limits<double>::infinity();
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (const int datum : {KxDatum_GCJ02, KxDatum_BD09})
        for (const Place at : {Place{nan, 40}, {100, nan}, {inf, 40}, {100, -inf}, {1.7e308, 40}}) {
            Place to = {};
            KxMath::GetDeviationCoord(datum, at.lon, at.lat, to.lon, to.lat);
            EXPECT_TRUE(std::isnan(to.lon) && std::isnan(to.lat)) << at.lon << ' ' << at.lat;
            to = {};
            KxMath::RemoveDeviationCoord(datum, at.lon, at.lat, to.lon, to.lat);
            EXPECT_TRUE(std::isnan(to.lon) && std::isnan(to.lat)) << at.lon << ' ' << at.lat;
        }
}

TEST(KxMathDatumShift, MayWriteOverItsInput)
{
    double lon = 116.404 * kRadian;
    double lat = 39.915 * kRadian;
    KxMath::GetDeviationCoord(KxDatum_GCJ02, lon, lat, lon, lat);
    ExpectPlace({lon / kRadian, lat / kRadian}, {116.41024449916938, 39.91640428150164});
    KxMath::RemoveDeviationCoord(KxDatum_GCJ02, lon, lat, lon, lat);
    ExpectPlace({lon / kRadian, lat / kRadian}, {116.404, 39.915});
}

TEST(KxMathDatumShift, ComesBackToThePlacesOfTheVectors)
{
    // The exact inverse takes what lies outside the box as unshifted, so the places whose shifted
    // position has left it do not come back.
    int back = 0;
    for (const DatumVector& row : DatumVectors()) {
        if (row.gcjLon > 137.8347 || row.gcjLat > 55.8271)
            continue;
        SCOPED_TRACE(testing::PrintToString(row));
        const bool inBox = row.gcjLon != row.lon || row.gcjLat != row.lat;
        const bool gcjInBox = row.gcjLon >= 72.004 && row.gcjLat >= 0.8293;
        if (inBox != gcjInBox)
            continue;
        ExpectPlace(Unshift(KxDatum_GCJ02, {row.gcjLon, row.gcjLat}), {row.lon, row.lat});
        ExpectPlace(Unshift(KxDatum_BD09, {row.bdLon, row.bdLat}), {row.lon, row.lat});
        ++back;
    }
    EXPECT_GT(back, 200);
}

TEST(KxMathDatumShift, ComesBackFromEverywhereInTheBox)
{
    RandomPlaces places;
    for (int i = 0; i < 100000; ++i) {
        const Place at = places.Next();
        ExpectPlace(Unshift(KxDatum_GCJ02, Shift(KxDatum_GCJ02, at)), at, 2e-13);
        ExpectPlace(Unshift(KxDatum_BD09, Shift(KxDatum_BD09, at)), at, 2e-13);
        if (HasFailure())
            FAIL() << at.lon << ' ' << at.lat;
    }
}

TEST(KxMathDatumShift, ComesBackFromTheWholeEarth)
{
    for (int lon = -180; lon <= 180; lon += 3)
        for (int lat = -90; lat <= 0; lat += 3) {
            const Place at = {static_cast<double>(lon), static_cast<double>(lat)};
            ExpectPlace(Unshift(KxDatum_BD09, Shift(KxDatum_BD09, at)), at, 1e-12);
        }
}

TEST(KxMathDatumShift, EndsAtTheEdgesOfTheBox)
{
    // With the boxed shift in its loop an inverse never settles at these.
    for (const Place at : {Place{72.005, 40},
                           {72.0079, 40},
                           {100, 0.8294},
                           {100, 0.83},
                           {72.0041, 20},
                           {110, 0.8293}})
        EXPECT_NEAR(Unshift(KxDatum_GCJ02, at).lon, at.lon, 0.011);
    ExpectPlace(Unshift(KxDatum_GCJ02, {72.005, 40}), {72.00076982541543, 39.99977022474171});
    ExpectPlace(Unshift(KxDatum_GCJ02, {137.8347, 50}), {137.8272062146086, 49.99789758405554});
    ExpectPlace(Unshift(KxDatum_GCJ02, {105, 35}), {104.99672986240127, 35.00091018636611});
    ExpectPlace(Unshift(KxDatum_GCJ02, {137.84, 50}), {137.84, 50}, 0);
}

TEST(KxMathDatumShift, EndsFarOutsideTheEarth)
{
    Place to = {};
    for (const double far : {1e3, 1e10, 1e150, 1e300})
        KxMath::RemoveDeviationCoord(KxDatum_BD09, far, -far, to.lon, to.lat);
    SUCCEED() << "it came back from all of them";
}

} // namespace KxC::Test
