// SPDX-License-Identifier: MIT
#include "Marble.h"

#include <gtest/gtest.h>

#include <cmath>

namespace KxOrigin {
namespace {

constexpr int kWidth = 1024;
constexpr int kHeight = 512;

/// Red grows with the column, green with the row, blue alternates from pixel to pixel.
Pixels Ramp()
{
    Pixels source(kWidth, kHeight);
    for (int row = 0; row < kHeight; ++row) {
        for (int column = 0; column < kWidth; ++column)
            source.At(column, row) = {static_cast<std::uint8_t>(column / 4),
                                      static_cast<std::uint8_t>(row / 2),
                                      static_cast<std::uint8_t>((column + row) % 2 * 200)};
    }
    return source;
}

const Grid& Mercator()
{
    return GridOf(GridKind::WebMercator);
}

const Grid& Geographic()
{
    return GridOf(GridKind::Geographic);
}

TEST(Marble, AveragesWhatAPixelCoversWhenItShrinks)
{
    // A level 0 pixel covers 4 x 4 source pixels: one value of red, two of green, blue evened out.
    const Pixels tile = Marble(Ramp()).Draw(Geographic(), {0, 0, 0});
    for (const int column : {0, 1, 100, 255}) {
        const int row = 64 + 30;
        const Colour& colour = tile.At(column, row);
        EXPECT_EQ(colour.red, column);
        EXPECT_NEAR(colour.green, 60.5, 0.51);
        EXPECT_EQ(colour.blue, 100);
    }
}

TEST(Marble, ReproducesTheSourceWhereThePixelsAgree)
{
    // At level 2 a pixel of the geographic grid is exactly a source pixel.
    const Pixels source = Ramp();
    const Pixels tile = Marble(source).Draw(Geographic(), {2, 512, 256});
    for (int row = 0; row < kTileEdge; row += 17) {
        for (int column = 0; column < kTileEdge; ++column)
            ASSERT_EQ(tile.At(column, row), source.At(512 + column, row));
    }
}

TEST(Marble, InterpolatesBetweenPixelsWhenItEnlarges)
{
    Pixels source(kWidth, kHeight);
    source.At(600, 300) = {240, 0, 0};
    // At level 5, 8 x 8 pixels to a source pixel; the bilinear hat stands on the pixel's centre.
    const std::int64_t left = 600 * 8 - 64;
    const std::int64_t top = (256 + 300) * 8 - 64;
    const Pixels tile = Marble(source).Draw(Geographic(), {5, left, top});
    for (int row = 56; row < 80; ++row) {
        for (int column = 56; column < 80; ++column) {
            const double u = std::abs((column + 0.5 - 68) / 8);
            const double v = std::abs((row + 0.5 - 68) / 8);
            const double expected = 240 * std::fmax(0, 1 - u) * std::fmax(0, 1 - v);
            ASSERT_NEAR(tile.At(column, row).red, expected, 0.51) << column << " " << row;
        }
    }
}

TEST(Marble, PutsLatitudesWhereWebMercatorHasThem)
{
    // Green is the source row / 2; the row under a Mercator pixel by the inverse formula.
    const Pixels tile = Marble(Ramp()).Draw(Mercator(), {3, 1024, 512});
    const double pi = std::acos(-1.0);
    for (int row = 0; row < kTileEdge; row += 5) {
        const double northing = pi * (1 - 2 * (512 + row + 0.5) / 2048);
        const double latitude = (2 * std::atan(std::exp(northing)) - pi / 2) * 180 / pi;
        const double sourceRow = (90 - latitude) / 180 * kHeight - 0.5;
        EXPECT_NEAR(tile.At(10, row).green, sourceRow / 2, 0.8);
    }
}

TEST(Marble, GoesRoundTheWorldAtTheDateLine)
{
    Pixels source(4, 2);
    source.At(3, 0) = source.At(3, 1) = {200, 0, 0};
    // The westmost pixel of level 22 lies halfway between the last and the first source column.
    const Pixels tile = Marble(source).Draw(Mercator(), {22, 0, SidePixels(22) / 2});
    EXPECT_NEAR(tile.At(0, 0).red, 100, 1);
}

TEST(Marble, NeighbouringTilesContinueEachOther)
{
    // The same window in two halves, cut elsewhere than the tiles are.
    const Marble marble(Ramp());
    const Pixels whole = marble.Draw(Mercator(), {6, 4096, 4096});
    const Pixels shifted = marble.Draw(Mercator(), {6, 4096 + 100, 4096 + 50});
    for (int row = 50; row < kTileEdge; row += 11) {
        for (int column = 100; column < kTileEdge; ++column)
            ASSERT_EQ(whole.At(column, row), shifted.At(column - 100, row - 50));
    }
}

TEST(Marble, IsGreyWhereThereIsNoMap)
{
    const Pixels tile = Marble(Ramp()).Draw(Geographic(), {0, 0, 0});
    EXPECT_EQ(tile.At(100, 63), kBeyondMap);
    EXPECT_NE(tile.At(100, 64), kBeyondMap);
    EXPECT_NE(tile.At(100, 191), kBeyondMap);
    EXPECT_EQ(tile.At(100, 192), kBeyondMap);
}

TEST(Marble, DrawsTheCornersOfEveryLevel)
{
    const Marble marble(Ramp());
    for (int level = 0; level <= kMaxLevel; ++level) {
        const std::int64_t last = SidePixels(level) - kTileEdge;
        EXPECT_EQ(marble.Draw(Mercator(), {level, last, last}).width, kTileEdge);
        EXPECT_EQ(marble.Draw(Geographic(), {level, 0, last}).height, kTileEdge);
    }
}

} // namespace
} // namespace KxOrigin
