// SPDX-License-Identifier: MIT
#include "KxMath.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>

namespace KxC::Test {

namespace {

const long double kPi = std::acos(-1.0L);
constexpr long double kRadius = 6378137.0L;
constexpr double kInfinity = std::numeric_limits<double>::infinity();

/// Latitude by the Gudermannian function, which the implementation does not use.
double LatitudeOf(double y)
{
    return static_cast<double>(std::atan(std::sinh(y / kRadius)));
}

double NorthingOf(double lat)
{
    return static_cast<double>(kRadius * std::asinh(std::tan(static_cast<long double>(lat))));
}

} // namespace

TEST(KxMathWebMercator, TurnsMetresIntoRadians)
{
    for (int step = -16; step <= 16; ++step) {
        const double y = step * 1234567.0;
        const KxPoint2d point = KxMath::WebMecator2LatLon(y / 2, y);
        EXPECT_NEAR(point.x, static_cast<double>(y / 2 / kRadius), 1e-15);
        EXPECT_NEAR(point.y, LatitudeOf(y), 5e-16);
    }
}

TEST(KxMathWebMercator, TurnsRadiansIntoMetres)
{
    for (int step = -148; step <= 148; ++step) {
        const double lat = step * 0.01;
        const KxPoint2d point = KxMath::LatLon2WebMecator(2 * lat, lat);
        EXPECT_NEAR(point.x, static_cast<double>(2 * lat * kRadius), 1e-8);
        EXPECT_NEAR(point.y, NorthingOf(lat), 2e-8);
    }
}

TEST(KxMathWebMercator, SpansTheSquare)
{
    EXPECT_NEAR(KxMath::kHalfWorld, static_cast<double>(kPi * kRadius), 1e-8);
    const KxPoint2d corner = KxMath::WebMecator2LatLon(-KxMath::kHalfWorld, KxMath::kHalfWorld);
    EXPECT_NEAR(corner.x, static_cast<double>(-kPi), 1e-15);
    EXPECT_NEAR(corner.y * 180 / static_cast<double>(kPi), 85.0511287798066, 1e-12);
    EXPECT_EQ(KxMath::WebMecator2LatLon(0, 0).y, 0.0);
}

TEST(KxMathWebMercator, KeepsTheWestAndEastEdgesAtPi)
{
    // The edges as tile arithmetic reaches them, and as the sphere has them.
    const double west = 0 * 40075016.68557849 - 20037508.342789244;
    for (const double edge : {west, -KxMath::kHalfWorld})
        EXPECT_EQ(KxMath::WebMecator2LatLon(edge, 0).x, -std::numbers::pi);
    for (const double edge : {west + 40075016.68557849, KxMath::kHalfWorld})
        EXPECT_EQ(KxMath::WebMecator2LatLon(edge, 0).x, std::numbers::pi);
    EXPECT_LT(KxMath::WebMecator2LatLon(-KxMath::kHalfWorld - 1e-6, 0).x, -std::numbers::pi);
    EXPECT_GT(KxMath::WebMecator2LatLon(1e-6 - KxMath::kHalfWorld, 0).x, -std::numbers::pi);
}

TEST(KxMathWebMercator, KeepsTheSouthEdgeInside)
{
    // The edge as tile arithmetic reaches it: from the north, by as many tiles as there are.
    const double half = KxMath::kHalfWorld;
    const double pi = static_cast<double>(kPi);
    for (int level = 0; level <= 30; ++level) {
        const double count = std::exp2(level);
        const double span = 40075016.68557849 / count;
        const double edge = half - (count - 1) * span - span;
        const double lat = KxMath::WebMecator2LatLon(0, edge).y;
        const double row = (std::log(std::tan(lat / 2 + pi / 4)) + pi) / (2 * pi / count);
        EXPECT_GE(row, 0.0) << level;
        EXPECT_LT(row, 1e-5) << level;
        EXPECT_NEAR(lat, LatitudeOf(-half), 1e-15);
    }
}

TEST(KxMathWebMercator, HasNoNorthingAtThePoles)
{
    const double pole = std::acos(0.0);
    EXPECT_EQ(KxMath::LatLon2WebMecator(0, pole).y, kInfinity);
    EXPECT_EQ(KxMath::LatLon2WebMecator(0, -pole).y, -kInfinity);
    EXPECT_EQ(KxMath::LatLon2WebMecator(0, 2.0).y, kInfinity);
    EXPECT_EQ(KxMath::LatLon2WebMecator(0, -kInfinity).y, -kInfinity);
    EXPECT_TRUE(std::isnan(KxMath::LatLon2WebMecator(0, std::nan("")).y));
    EXPECT_EQ(KxMath::LatLon2WebMecator(1, pole).x, KxMath::kSphereRadius);
}

TEST(KxMathWebMercator, StopsAtThePolesOnItsWayBack)
{
    const double pole = std::acos(0.0);
    EXPECT_EQ(KxMath::WebMecator2LatLon(0, kInfinity).y, pole);
    EXPECT_EQ(KxMath::WebMecator2LatLon(0, -kInfinity).y, -pole);
    EXPECT_TRUE(std::isnan(KxMath::WebMecator2LatLon(0, std::nan("")).y));
}

} // namespace KxC::Test
