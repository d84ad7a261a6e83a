// SPDX-License-Identifier: MIT
#include "KxShiftedRows.h"

#include "KxMath.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <random>
#include <vector>

namespace KxC {
namespace {

constexpr double kDegree = std::numbers::pi / 180;
constexpr std::size_t kCount = 500;

/// Rows of positions in a rectangle of degrees; a fixed seed, so that runs agree.
class RandomRows
{
public:
    RandomRows(double west, double south, double east, double north)
        : m_lon(west, east), m_lat(south, north)
    {
        for (std::size_t i = 0; i < kCount; ++i)
            m_lons.push_back(m_lon(m_random) * kDegree);
    }
    const std::vector<double>& Lons() const { return m_lons; }
    double NextLat() { return m_lat(m_random) * kDegree; }

private:
    std::mt19937 m_random{20240501};
    std::uniform_real_distribution<double> m_lon;
    std::uniform_real_distribution<double> m_lat;
    std::vector<double> m_lons;
};

/// The largest difference from KxMath in rows over a rectangle, radians.
double WorstShift(int type, RandomRows rows)
{
    const KxShiftedRows shifted(type, rows.Lons());
    std::vector<double> lonShift(kCount);
    std::vector<double> latShift(kCount);
    double worst = 0;
    for (int row = 0; row < 200; ++row) {
        const double lat = rows.NextLat();
        shifted.ShiftsAt(lat, lonShift.data(), latShift.data());
        for (std::size_t i = 0; i < kCount; ++i) {
            double lonAt = 0;
            double latAt = 0;
            KxMath::GetDeviationCoord(type, rows.Lons()[i], lat, lonAt, latAt);
            worst = std::max(worst, std::abs(rows.Lons()[i] + lonShift[i] - lonAt));
            worst = std::max(worst, std::abs(lat + latShift[i] - latAt));
            EXPECT_LT(std::abs(latShift[i]), KxShiftedRows::kMaxLatShift);
        }
    }
    return worst;
}

TEST(KxShiftedRows, AgreesWithTheShiftOfEachPosition)
{
    // A third of what is promised: the rest is for positions that chance did not try.
    constexpr double kTolerance = KxShiftedRows::kMaxShiftError / 3;
    for (const int type : {KxDatum_GCJ02, KxDatum_BD09}) {
        EXPECT_LT(WorstShift(type, {72, 0.8, 138, 56}), kTolerance)
            << "the box, and over its edges";
        EXPECT_LT(WorstShift(type, {104.9, 20, 105.1, 40}), kTolerance) << "the kink at 105";
        EXPECT_LT(WorstShift(type, {116.3, 39.8, 116.5, 40}), kTolerance);
        EXPECT_LT(WorstShift(type, {-180, -89, 180, 89}), kTolerance);
        EXPECT_LT(WorstShift(type, {-0.1, -0.1, 0.1, 0.1}), kTolerance);
    }
}

TEST(KxShiftedRows, ShiftsNothingOnOtherDatums)
{
    for (const int type : {0, -1, 3})
        EXPECT_EQ(WorstShift(type, {72, 0.8, 138, 56}), 0) << type;
}

TEST(KxShiftedRows, TellsWhatIsNoNumber)
{
    const KxShiftedRows shifted(KxDatum_BD09, {std::numeric_limits<double>::quiet_NaN(), 0});
    double lonShift[2];
    double latShift[2];
    shifted.ShiftsAt(0.5, lonShift, latShift);
    EXPECT_TRUE(std::isnan(lonShift[0]));
    EXPECT_FALSE(std::isnan(lonShift[1]));
    shifted.ShiftsAt(std::numeric_limits<double>::infinity(), lonShift, latShift);
    EXPECT_TRUE(std::isnan(latShift[1]));
}

struct PlaneErrors
{
    double worst = 0;
    std::size_t unsure = 0;
};

/// Positions that are off by as much as shifts may be, against the exact ones.
PlaneErrors WorstPlace(RandomRows rows, double rowHeight)
{
    constexpr double kOff = KxShiftedRows::kMaxShiftError / kDegree;
    PlaneErrors errors;
    std::mt19937 random(7);
    std::uniform_real_distribution<double> spread(0, rowHeight);
    for (int row = 0; row < 200; ++row) {
        const double lat = rows.NextLat() / kDegree;
        std::vector<double> lons;
        std::vector<double> lats;
        for (const double lon : rows.Lons()) {
            lons.push_back(lon / kDegree + kOff);
            lats.push_back(lat + spread(random) - kOff);
        }
        std::vector<double> xs(kCount);
        std::vector<double> ys(kCount);
        KxShiftedRows::ToBaiduPlane(lons.data(), lats.data(), kCount, xs.data(), ys.data());
        for (std::size_t i = 0; i < kCount; ++i) {
            double x = -std::numeric_limits<double>::infinity();
            double y = x;
            KxMath::ConvertLL2MC(lons[i] - kOff, lats[i] + kOff, x, y);
            if (std::isnan(xs[i]))
                ++errors.unsure;
            else if (std::isinf(xs[i]) || std::isinf(x))
                EXPECT_EQ(xs[i], x) << lons[i] << " " << lats[i];
            else
                errors.worst = std::max({errors.worst, std::abs(xs[i] - x), std::abs(ys[i] - y)});
        }
    }
    return errors;
}

TEST(KxShiftedRows, AgreesWithThePlaceOfEachPosition)
{
    const double areas[][4] = {{100, 20, 101, 29},
                               {-60, -59, -50, -46},
                               {10, 61, 20, 73.9},
                               {10, -73, 20, -61},
                               {-1, -1, 1, 1},
                               {-180, -80, 180, 80},
                               {30, 29.99, 31, 30.01}};
    for (const auto& area : areas) {
        const PlaneErrors errors = WorstPlace({area[0], area[1], area[2], area[3]}, 0.01);
        EXPECT_LT(errors.worst, KxShiftedRows::kMaxPlaneError) << area[0];
        EXPECT_LT(errors.unsure, 10U);
    }
}

TEST(KxShiftedRows, DoesNotTellTheSideOfASeam)
{
    const double lons[] = {0, 180, -180, 50, 50, 50, 50, 50, 50, 190};
    const double lats[] = {10, 10, 10, 0, 15, -30, 45, -60, 74, 10};
    double xs[10];
    double ys[10];
    KxShiftedRows::ToBaiduPlane(lons, lats, 10, xs, ys);
    for (const double x : xs)
        EXPECT_TRUE(std::isnan(x));
    const double infinite[] = {std::numeric_limits<double>::infinity()};
    KxShiftedRows::ToBaiduPlane(infinite, lats, 1, xs, ys);
    EXPECT_TRUE(std::isnan(xs[0]));
}

} // namespace
} // namespace KxC
