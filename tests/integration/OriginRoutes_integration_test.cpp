// SPDX-License-Identifier: MIT
// What kxorigin publishes, over real HTTP: that its grids hold places where they belong.
#include "KxNetGetch.h"
#include "OriginTest.h"

#include <cmath>

namespace KxC::Testing {
namespace {

/// WGS 84 (116.404, 39.915), and where gcoord 1.0.7 and prcoords 1.0.5 put it.
constexpr double kLon = 116.404;
constexpr double kLat = 39.915;
constexpr double kGcjLon = 116.41024449916938;
constexpr double kGcjLat = 39.91640428150164;
constexpr double kBdLon = 116.41662724378733;
constexpr double kBdLat = 39.922699552216216;
constexpr double kPlaneX = 12959580.673891693;
constexpr double kPlaneY = 4827036.86707346;
constexpr int kLevel = 19;

struct Point
{
    double x;
    double y;
};

/// Pixels from the north-west corner.
Point Mercator(double lon, double lat)
{
    const double pi = std::acos(-1.0);
    const double northing = std::log(std::tan(pi / 4 + lat * pi / 360));
    const double side = 256 * std::exp2(kLevel);
    return {(lon + 180) / 360 * side, (0.5 - northing / (2 * pi)) * side};
}

Point Geographic(double lon, double lat)
{
    const double side = 256 * std::exp2(kLevel);
    return {(lon + 180) / 360 * side, (180 - lat) / 360 * side};
}

class OriginRoutes : public OriginTest
{
protected:
    /// The colour of a pixel of a picture that is served under a path: 0xRRGGBB.
    int ColourAt(const std::string& path, int edge, double x, double y)
    {
        const Pixels pixels = Fetch(Source(path), 0, 0, 0);
        const auto row = static_cast<std::size_t>(edge - 1 - static_cast<int>(y));
        const std::size_t pixelSize =
            pixels.size() / static_cast<std::size_t>(edge) / static_cast<std::size_t>(edge);
        const std::size_t at =
            (row * static_cast<std::size_t>(edge) + static_cast<std::size_t>(x)) * pixelSize;
        if (at + 2 >= pixels.size())
            return -1;
        return pixels[at] << 16 | pixels[at + 1] << 8 | pixels[at + 2];
    }

    /// @param start  path up to the numbers
    int ColourOfTilePixel(const std::string& start,
                          const Point& pixel,
                          int edge = 256,
                          int level = kLevel)
    {
        const auto col = static_cast<int>(pixel.x / edge);
        const auto row = static_cast<int>(pixel.y / edge);
        return ColourAt(start + std::to_string(level) + "/" + std::to_string(col) + "/" +
                            std::to_string(row) + ".png",
                        edge,
                        pixel.x - col * edge,
                        pixel.y - row * edge);
    }
};

constexpr int kCrossing = 120 << 16 | 120; ///< as docs/kxorigin.md has it

TEST_F(OriginRoutes, LinesCrossAtAPublishedPlaceInEveryGrid)
{
    EXPECT_EQ(ColourOfTilePixel("/xyz/graticule/", Mercator(kLon, kLat)), kCrossing);
    EXPECT_EQ(ColourOfTilePixel("/xyz-gcj02/graticule/", Mercator(kGcjLon, kGcjLat)), kCrossing);
    EXPECT_EQ(ColourOfTilePixel("/xyz-bd09/graticule/", Mercator(kBdLon, kBdLat)), kCrossing);
    EXPECT_EQ(ColourOfTilePixel("/geographic/graticule/", Geographic(kLon, kLat)), kCrossing);
    EXPECT_EQ(ColourOfTilePixel("/xyz-512/graticule/", Mercator(kLon, kLat), 512, kLevel - 1),
              kCrossing);
    EXPECT_EQ(
        ColourOfTilePixel("/geographic-512/graticule/", Geographic(kLon, kLat), 512, kLevel - 1),
        kCrossing);
    Point fromPole = Geographic(kLon, kLat);
    fromPole.y -= 64 * std::exp2(kLevel);
    EXPECT_EQ(ColourOfTilePixel("/tianditu/graticule/", fromPole), kCrossing);
}

TEST_F(OriginRoutes, LinesCrossAtAPublishedPlaceOfTheBaiduPlane)
{
    // At level 19 a pixel is half a metre, a tile 128 m.
    const double col = std::floor(kPlaneX / 128);
    const double row = std::floor(kPlaneY / 128);
    const std::string path = "/baidu/graticule.png?x=" + std::to_string(static_cast<int>(col)) +
                             "&y=" + std::to_string(static_cast<int>(row)) + "&z=19";
    const double x = (kPlaneX - col * 128) * 2;
    const double y = 256 - (kPlaneY - row * 128) * 2;
    EXPECT_EQ(ColourAt(path, 256, x, y), kCrossing);
}

TEST_F(OriginRoutes, EarthAnswersArriveAsTheyAreAskedFor)
{
    const auto get = [&](const std::string& path) {
        KxRawData data;
        const NetError result =
            KxNetGetch::RequestData(data, m_origin.Url(path).c_str(), "", "", 0, 0, 0, "", nullptr);
        EXPECT_EQ(result, NetError_Success) << path;
        return std::string(data.GetData(), data.GetData() + data.GetSize());
    };
    const std::string root = get("/earth/dbRoot.v5?output=proto");
    const std::string history = get("/earth/dbRoot.v5?db=tm&output=proto");
    ASSERT_GT(root.size(), 1021U);
    ASSERT_GT(history.size(), 1021U);
    // Encryption type, and a key of 1016 bytes.
    EXPECT_EQ(root.substr(0, 5), std::string("\x08\x00\x12\xF8\x07", 5));
    EXPECT_NE(root.substr(5, 1016), history.substr(5, 1016));
    EXPECT_FALSE(get("/earth/flatfile?q2-0-q.171").empty());
    EXPECT_FALSE(get("/earth/flatfile?db=tm&qp-0-q.902").empty());
    EXPECT_EQ(get("/earth-with/plain/flatfile?f1-0-i.3").substr(0, 3), "\xFF\xD8\xFF");
    EXPECT_FALSE(get("/earth-broken/quadtree-bomb/flatfile?q2-0-q.171").empty());
}

TEST_F(OriginRoutes, WhatTheEarthServerDoesNotHaveIsMissing)
{
    KxRawData data;
    const auto result = [&](const char* path) {
        return KxNetGetch::RequestData(
            data, m_origin.Url(path).c_str(), "", "", 0, 0, 0, "", nullptr);
    };
    EXPECT_EQ(result("/earth/flatfile?q2-0-q.172"), NetError_NoData);
    EXPECT_EQ(result("/earth/flatfile?db=tm&f1-0200-i.1-fc82f"), NetError_NoData);
    EXPECT_EQ(result("/earth-with/empty/flatfile?q2-0-q.172"), NetError_Success);
    EXPECT_EQ(data.GetSize(), 0U);
}

} // namespace
} // namespace KxC::Testing
