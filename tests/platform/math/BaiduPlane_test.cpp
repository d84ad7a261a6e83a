// SPDX-License-Identifier: MIT
#include "DatumVectors.h"
#include "KxMath.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace KxC::Test {

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNone = std::numeric_limits<double>::quiet_NaN();

/// Plane metres of BD-09 degrees.
KxPoint2d PlaneOf(double lon, double lat)
{
    KxPoint2d plane;
    EXPECT_EQ(KxMath::ConvertLL2MC(lon, lat, plane.x, plane.y), 1) << lon << ' ' << lat;
    return plane;
}

/// BD-09 degrees of plane metres.
KxPoint2d PlaceOf(double x, double y)
{
    KxPoint2d place;
    EXPECT_EQ(KxMath::ConvertMC2LL(x, y, place.x, place.y), 1) << x << ' ' << y;
    return place;
}

void ExpectPoint(const KxPoint2d& is, double x, double y, double tolerance)
{
    EXPECT_NEAR(is.x, x, tolerance);
    EXPECT_NEAR(is.y, y, tolerance);
}

/// Northing of Mercator on the Clarke 1866 ellipsoid, which the tables approximate.
double MercatorNorthing(double lat)
{
    const long double a = 6378206.4L;
    const long double b = 6356583.8L;
    const long double e = std::sqrt(1 - b * b / (a * a));
    const long double sine = std::sin(lat * std::acos(-1.0L) / 180);
    return static_cast<double>(a * (std::atanh(sine) - e * std::atanh(e * sine)));
}

} // namespace

TEST(KxMathBaiduPlane, AgreesWithThePublishedVectors)
{
    ASSERT_EQ(DatumVectors().size(), 243U);
    for (const DatumVector& row : DatumVectors()) {
        SCOPED_TRACE(testing::PrintToString(row));
        ExpectPoint(PlaneOf(row.bdLon, row.bdLat), row.x, row.y, 1e-4);
    }
}

TEST(KxMathBaiduPlane, AgreesWithSinglePublishedValues)
{
    ExpectPoint(PlaneOf(116.404, 39.915), 12958175.000248697, 4825923.766034241, 1e-6);
    ExpectPoint(PlaneOf(116.404, -39.915), 12958175.000248697, -4825923.766034241, 1e-6);
    ExpectPoint(PlaneOf(0, 0), -0.0003218135878613132, 0.00369383431289, 1e-15);
    ExpectPoint(PlaneOf(190, 10), -18924519.351605643, 1111404.9176868089, 1e-6);
    ExpectPoint(PlaceOf(12958160.97, 4825907.72), 116.403874, 39.914889, 5e-7);
    EXPECT_NEAR(PlaneOf(10, 74).y, 12474104.174141765, 1e-4);
    EXPECT_NEAR(PlaneOf(10, -74).y, -12474104.174141765, 1e-4);
}

TEST(KxMathBaiduPlane, BeginsABandAtItsLimit)
{
    EXPECT_NEAR(PlaneOf(0, 15).y, 1678043.1290918982, 1e-6);
    EXPECT_NEAR(PlaneOf(0, 30).y, 3481989.8639113405, 1e-6);
    EXPECT_NEAR(PlaneOf(0, 45).y, 5591021.374111815, 1e-6);
    EXPECT_NEAR(PlaneOf(0, 60).y, 8362392.057567954, 1e-4);
}

TEST(KxMathBaiduPlane, IsMercatorToTheTablesAccuracy)
{
    for (int eighth = 0; eighth <= 74 * 8; ++eighth) {
        const double lat = eighth / 8.0;
        const double worst = lat < 15   ? 0.0041
                             : lat < 30 ? 0.0095
                             : lat < 45 ? 0.0425
                             : lat < 60 ? 0.445
                                        : 19.5;
        EXPECT_NEAR(PlaneOf(0, lat).y, MercatorNorthing(lat), worst) << lat;
        EXPECT_EQ(PlaneOf(0, -lat).y, lat == 0 ? PlaneOf(0, 0).y : -PlaneOf(0, lat).y);
    }
}

TEST(KxMathBaiduPlane, WrapsLongitudes)
{
    for (const double lon : {-179.5, -20.25, 0.5, 100.0, 179.75})
        for (const double turns : {-720.0, -360.0, 360.0, 3600.0})
            EXPECT_EQ(PlaneOf(lon + turns, 20).x, PlaneOf(lon, 20).x);
    // Both ends stay, as do those that a turn carries there.
    EXPECT_GT(PlaneOf(180, 20).x, 20037726.0);
    EXPECT_LT(PlaneOf(-180, 20).x, -20037726.0);
    EXPECT_EQ(PlaneOf(540, 20).x, PlaneOf(180, 20).x);
    EXPECT_EQ(PlaneOf(-540, 20).x, PlaneOf(-180, 20).x);
}

TEST(KxMathBaiduPlane, RefusesWhatLiesBeyondItsLatitudes)
{
    for (const double lat : {74.00000001, -74.00000001, 80.0, 90.0, 91.0, -1e300}) {
        double x = 1;
        double y = 2;
        EXPECT_EQ(KxMath::ConvertLL2MC(100, lat, x, y), 0) << lat;
        EXPECT_EQ(x, 1);
        EXPECT_EQ(y, 2);
    }
}

TEST(KxMathBaiduPlane, RefusesWhatIsNoNumber)
{
    for (const double bad : {kNone, kInfinity, -kInfinity}) {
        double x = 1;
        double y = 2;
        EXPECT_EQ(KxMath::ConvertLL2MC(bad, 10, x, y), 0);
        EXPECT_EQ(KxMath::ConvertLL2MC(10, bad, x, y), 0);
        EXPECT_EQ(KxMath::ConvertMC2LL(bad, 10, x, y), 0);
        EXPECT_EQ(KxMath::ConvertMC2LL(10, bad, x, y), 0);
        EXPECT_EQ(x, 1);
        EXPECT_EQ(y, 2);
    }
}

TEST(KxMathBaiduPlane, RefusesWhatLiesOutsideTheSquare)
{
    double lon = 1;
    double lat = 2;
    EXPECT_EQ(KxMath::ConvertMC2LL(20037726.39, 0, lon, lat), 0);
    EXPECT_EQ(KxMath::ConvertMC2LL(-20037726.39, 0, lon, lat), 0);
    EXPECT_EQ(KxMath::ConvertMC2LL(0, 20037726.38, lon, lat), 0);
    EXPECT_EQ(KxMath::ConvertMC2LL(0, -20037726.38, lon, lat), 0);
    EXPECT_EQ(lon, 1);
    EXPECT_EQ(lat, 2);
    EXPECT_EQ(KxMath::ConvertMC2LL(-20037726.37, 20037726.37, lon, lat), 1);
}

TEST(KxMathBaiduPlane, ComesBackExactly)
{
    for (int step = -2000; step <= 2000; ++step) {
        const double lat = step * 0.037;
        const KxPoint2d plane = PlaneOf(lat * 2.4, lat);
        ExpectPoint(PlaceOf(plane.x, plane.y), lat * 2.4, lat, 2e-11);
    }
}

TEST(KxMathBaiduPlane, ComesBackExactlyAtTheBandsLimits)
{
    for (const double limit : {15.0, 30.0, 45.0, 60.0})
        for (const double lat : {limit, std::nextafter(limit, 0.0), std::nextafter(limit, 90.0)}) {
            const KxPoint2d plane = PlaneOf(-33, -lat);
            ExpectPoint(PlaceOf(plane.x, plane.y), -33, -lat, 2e-11);
        }
    for (const double lon : {-180.0, 0.0, 180.0}) {
        const KxPoint2d plane = PlaneOf(lon, 0);
        ExpectPoint(PlaceOf(plane.x, plane.y), lon, 0, 1e-11);
    }
}

TEST(KxMathBaiduPlane, GivesTheLimitForHeightsBetweenBands)
{
    // The upper band begins above the end of the lower one: 9.8 mm at 15, 14.6 m at 60 degrees.
    EXPECT_EQ(PlaceOf(0, PlaneOf(0, 15).y - 0.005).y, 15.0);
    EXPECT_EQ(PlaceOf(0, PlaneOf(0, 30).y - 0.02).y, 30.0);
    EXPECT_EQ(PlaceOf(0, PlaneOf(0, 45).y - 0.2).y, 45.0);
    EXPECT_EQ(PlaceOf(0, -PlaneOf(0, 60).y + 7).y, -60.0);
    EXPECT_EQ(PlaceOf(0, 0.001).y, 0.0);
}

TEST(KxMathBaiduPlane, GoesOnNorthOfItsLatitudes)
{
    // Beyond 74 degrees only this direction is there; its table is good to 0.015 degrees.
    for (const double lat : {74.5, 75.5, 78.0, 81.0, 84.0})
        EXPECT_NEAR(PlaceOf(0, MercatorNorthing(lat)).y, lat, 0.015);
}

} // namespace KxC::Test
