// SPDX-License-Identifier: MIT
#include "WindowMap.h"

#include "Graticule.h"
#include "Marble.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace KxOrigin {
namespace {

/// A place of WGS 84 and where other libraries put it: gcoord 1.0.7 and prcoords 1.0.5.
constexpr Place kGround{116.404, 39.915};
constexpr Place kInGcj02{116.41024449916938, 39.91640428150164};
constexpr Place kInBd09{116.41662724378733, 39.922699552216216};
constexpr double kPlaneX = 12959580.673891693; ///< Baidu plane metres
constexpr double kPlaneY = 4827036.86707346;

/// Pixels from the grid's north-west corner.
struct PixelPoint
{
    double x;
    double y;
};

PixelPoint MercatorPixel(const Place& place, int level)
{
    const double pi = std::acos(-1.0);
    const double northing = std::log(std::tan(pi / 4 + place.latitude * pi / 360));
    const double side = 256 * std::exp2(level);
    return {(place.longitude + 180) / 360 * side, (0.5 - northing / (2 * pi)) * side};
}

/// A pixel of level 18 is a metre, and the origin is the middle of the grid.
PixelPoint PlanePixel(double x, double y, int level)
{
    const double pixelsPerMetre = std::exp2(level - 18);
    const double half = 128 * std::exp2(level);
    return {half + x * pixelsPerMetre, half - y * pixelsPerMetre};
}

struct KnownPixel
{
    GridKind grid;
    PixelPoint pixel;
};

std::vector<KnownPixel> KnownPixels(int level)
{
    return {{GridKind::WebMercator, MercatorPixel(kGround, level)},
            {GridKind::WebMercatorGcj02, MercatorPixel(kInGcj02, level)},
            {GridKind::WebMercatorBd09, MercatorPixel(kInBd09, level)},
            {GridKind::Baidu, PlanePixel(kPlaneX, kPlaneY, level)}};
}

/// The tile that contains a pixel.
PixelWindow TileAround(const PixelPoint& pixel, int level)
{
    return {level,
            static_cast<std::int64_t>(pixel.x) / kTileEdge * kTileEdge,
            static_cast<std::int64_t>(pixel.y) / kTileEdge * kTileEdge};
}

Colour ColourAt(const Pixels& tile, const PixelWindow& window, const PixelPoint& pixel)
{
    return tile.At(static_cast<int>(std::floor(pixel.x) - static_cast<double>(window.left)),
                   static_cast<int>(std::floor(pixel.y) - static_cast<double>(window.top)));
}

TEST(WindowMap, FindsPublishedPlacesInEveryGrid)
{
    for (const int level : {3, 11, 19, 22}) {
        for (const auto& [grid, pixel] : KnownPixels(level)) {
            const PixelWindow window = TileAround(pixel, level);
            const WindowMap map(GridOf(grid), window);
            const Place place = map.ExactPlace(pixel.x - static_cast<double>(window.left),
                                               pixel.y - static_cast<double>(window.top));
            // What is left is the plane's rounding of pixels at level 3.
            EXPECT_NEAR(place.longitude, kGround.longitude, 2e-9) << level;
            EXPECT_NEAR(place.latitude, kGround.latitude, 2e-9) << level;

            std::int64_t column = 0;
            std::int64_t row = 0;
            ASSERT_TRUE(map.FindPixel(kGround, column, row));
            EXPECT_EQ(column, static_cast<std::int64_t>(pixel.x)) << level;
            EXPECT_EQ(row, static_cast<std::int64_t>(pixel.y)) << level;
        }
    }
}

/// The largest distance from the exact places along some rows, pixels.
double WorstError(const Grid& grid, const PixelWindow& window)
{
    const WindowMap map(grid, window);
    const auto edge = static_cast<std::size_t>(window.edge);
    std::vector<double> longitudes(edge + 1);
    std::vector<double> latitudes(edge);
    const double pixelLatitude =
        (map.ExactPlace(0, 0).latitude - map.ExactPlace(0, window.edge).latitude) / window.edge;
    double worst = 0;
    for (double y = 0.5; y < window.edge; y += 13) {
        map.LongitudesAtEdges(y, longitudes);
        map.LatitudesAtMiddles(y, latitudes);
        const double perDegree = window.edge / (longitudes.back() - longitudes.front());
        for (int x = 0; x < window.edge; x += 3) {
            if (!map.HoldsColumn(x) || !map.HoldsRow(y))
                continue;
            const auto i = static_cast<std::size_t>(x);
            const double right = std::abs(longitudes[i] - map.ExactPlace(x, y).longitude);
            const double down = std::abs(latitudes[i] - map.ExactPlace(x + 0.5, y).latitude);
            worst = std::max({worst, right * perDegree, down / pixelLatitude});
        }
    }
    return worst;
}

TEST(WindowMap, IsGoodToItsToleranceAtEveryLevel)
{
    // Inside the area that GCJ-02 shifts, on its four borders and one corner, and far away.
    constexpr Place kPlaces[] = {{116.4, 39.9},
                                 {105, 35},
                                 {72.004, 40},
                                 {137.8347, 40},
                                 {110, 0.8293},
                                 {110, 55.8271},
                                 {72.004, 55.8271},
                                 {100, 60},
                                 {-74, -50}};
    for (const GridKind kind :
         {GridKind::WebMercatorGcj02, GridKind::WebMercatorBd09, GridKind::Baidu}) {
        const Grid& grid = GridOf(kind);
        for (const Place& place : kPlaces) {
            for (int level = 1; level <= kMaxLevel; level += 3) {
                const auto side = static_cast<double>(SidePixels(level));
                const PixelPoint pixel{grid.Across(place.longitude) * side,
                                       grid.Down(place.latitude) * side};
                EXPECT_LE(WorstError(grid, TileAround(pixel, level)), kMapTolerance)
                    << static_cast<int>(kind) << " " << place.longitude << " " << level;
            }
        }
    }
}

TEST(WindowMap, KnowsWhereTheMapEnds)
{
    const WindowMap geographic(GridOf(GridKind::Geographic), {0, 0, 0});
    EXPECT_FALSE(geographic.HoldsRow(63.9));
    EXPECT_TRUE(geographic.HoldsRow(64));
    EXPECT_TRUE(geographic.HoldsColumn(0));
    // Level 0 of the plane: a pixel is 2^18 m, the origin is the tile's south-west corner. Its
    // map ends 76.4 pixels east of that and 47.6 north.
    const WindowMap baidu(GridOf(GridKind::Baidu), {0, 128, -128});
    EXPECT_TRUE(baidu.HoldsColumn(75));
    EXPECT_FALSE(baidu.HoldsColumn(76));
    EXPECT_TRUE(baidu.HoldsRow(256 - 12474000 / 262144.0));
    EXPECT_FALSE(baidu.HoldsRow(256 - 12474200 / 262144.0));
    std::int64_t column = 0;
    std::int64_t row = 0;
    EXPECT_FALSE(baidu.FindPixel({10, 75}, column, row));
}

TEST(Graticule, CrossesAtPublishedPlacesInEveryGrid)
{
    // Both degrees are multiples of the spacing at these levels.
    for (const int level : {17, 18, 19}) {
        for (const auto& [grid, pixel] : KnownPixels(level)) {
            const PixelWindow window = TileAround(pixel, level);
            const Pixels tile = Graticule().Draw(GridOf(grid), window);
            const Colour colour = ColourAt(tile, window, pixel);
            EXPECT_TRUE(colour == Graticule::kCrossing) << static_cast<int>(grid) << " " << level;
        }
    }
}

/// Where a place of WGS 84 lies in a grid, by the forward shift.
PixelPoint ForwardPixel(const Grid& grid, const Place& ground, int level)
{
    const double degree = std::acos(-1.0) / 180;
    const auto side = static_cast<double>(SidePixels(level));
    Place shifted;
    KxC::KxMath::GetDeviationCoord(grid.Datum(),
                                   ground.longitude * degree,
                                   ground.latitude * degree,
                                   shifted.longitude,
                                   shifted.latitude);
    return {grid.Across(shifted.longitude / degree) * side,
            grid.Down(shifted.latitude / degree) * side};
}

/// Follows a meridian through a tile and counts the rows where it has its colour, and where not.
void FollowMeridian(GridKind kind, int level, double longitude, int& right, int& wrong)
{
    const Grid& grid = GridOf(kind);
    const PixelWindow window = TileAround(ForwardPixel(grid, {longitude, 39.91}, level), level);
    const Pixels tile = Graticule().Draw(grid, window);
    const double reach = 400 / grid.PixelsPerDegree(level);
    for (double latitude = 39.91 - reach; latitude < 39.91 + reach; latitude += reach / 40000) {
        PixelPoint point = ForwardPixel(grid, {longitude, latitude}, level);
        point.x -= static_cast<double>(window.left);
        point.y -= static_cast<double>(window.top);
        const bool isOnMiddle = std::abs(point.y - std::floor(point.y) - 0.5) < 0.01;
        const bool isDoubtful = std::abs(point.x - std::round(point.x)) < 2 * kMapTolerance;
        const bool isInTile = std::min(point.x, point.y) >= 0 && std::max(point.x, point.y) < 256;
        if (!isOnMiddle || isDoubtful || !isInTile)
            continue;
        const Colour& colour = tile.At(static_cast<int>(point.x), static_cast<int>(point.y));
        const bool isLine = colour == Graticule::kMeridian || colour == Graticule::kCrossing;
        ++(isLine ? right : wrong);
    }
}

TEST(Graticule, MeridiansOfShiftedGridsLieWhereTheForwardShiftPutsThem)
{
    for (const GridKind kind :
         {GridKind::WebMercatorGcj02, GridKind::WebMercatorBd09, GridKind::Baidu}) {
        for (const int level : {8, 12, 15, 19}) {
            int right = 0;
            int wrong = 0;
            FollowMeridian(kind, level, 117, right, wrong);
            EXPECT_GT(right, 50) << static_cast<int>(kind) << " " << level;
            EXPECT_EQ(wrong, 0) << static_cast<int>(kind) << " " << level;
        }
    }
}

constexpr int kStripes = 65536;

double Stripe(double position)
{
    // Between the middles of two source pixels, one 0 and the other 240.
    return 240 * std::abs(std::remainder(position - 0.5, 2.0));
}

TEST(Marble, ContentOfShiftedGridsLiesWhereTheServiceWouldShowIt)
{
    // Stripes of 0.0055 and 0.0027 degrees: GCJ-02's shift is more than one of the first.
    Pixels meridians(kStripes, 1);
    Pixels parallels(1, kStripes);
    for (int i = 1; i < kStripes; i += 2)
        meridians.At(i, 0) = parallels.At(0, i) = {240, 0, 0};
    const double column = Stripe((kGround.longitude + 180) / 360 * kStripes);
    const double row = Stripe((90 - kGround.latitude) / 180 * kStripes);
    const Marble striped(std::move(meridians));
    const Marble layered(std::move(parallels));
    // At level 19 a stripe is two thousand pixels wide.
    for (const auto& [grid, pixel] : KnownPixels(19)) {
        const PixelWindow window = TileAround(pixel, 19);
        EXPECT_NEAR(ColourAt(striped.Draw(GridOf(grid), window), window, pixel).red, column, 1);
        EXPECT_NEAR(ColourAt(layered.Draw(GridOf(grid), window), window, pixel).red, row, 1);
    }
}

} // namespace
} // namespace KxOrigin
