// SPDX-License-Identifier: MIT
#include "Graticule.h"

#include "Font.h"

#include <gtest/gtest.h>

#include <cmath>
#include <set>

namespace KxOrigin {

using KxDrawing::HasInk;
using KxDrawing::kGlyphAdvance;
using KxDrawing::kGlyphHeight;
using KxDrawing::kGlyphWidth;
using KxDrawing::TextWidth;
namespace {

const Grid& Mercator()
{
    return GridOf(GridKind::WebMercator);
}

bool IsWholeColumnLine(const Pixels& tile, int column)
{
    for (int row = 0; row < tile.height; ++row) {
        const Colour& colour = tile.At(column, row);
        if (colour != Graticule::kMeridian && colour != Graticule::kCrossing)
            return false;
    }
    return true;
}

bool IsWholeRowLine(const Pixels& tile, int row)
{
    for (int column = 0; column < tile.width; ++column) {
        const Colour& colour = tile.At(column, row);
        if (colour != Graticule::kParallel && colour != Graticule::kCrossing)
            return false;
    }
    return true;
}

/// Web Mercator pixel row of a latitude, by the formula with the logarithm.
double PixelRow(double latitude, int level)
{
    const double pi = std::acos(-1.0);
    const double northing = std::log(std::tan(pi / 4 + latitude * pi / 360));
    return (0.5 - northing / (2 * pi)) * static_cast<double>(SidePixels(level));
}

TEST(Graticule, MeridiansLieInThePixelThatContainsThem)
{
    // Level 12 has a line each 0.01 degrees; this tile holds 116.37 to 116.45 E.
    const std::int64_t left = 3372 * 256;
    const Pixels tile = Graticule().Draw(Mercator(), {12, left, 1552 * 256});
    std::set<int> expected;
    for (int line = 11637; line <= 11645; ++line) {
        const double pixel = (line * 0.01 + 180) / 360 * 256 * 4096;
        expected.insert(static_cast<int>(std::floor(pixel)) - static_cast<int>(left));
    }
    for (int column = 0; column < kTileEdge; ++column)
        EXPECT_EQ(IsWholeColumnLine(tile, column), expected.contains(column)) << column;
}

TEST(Graticule, ParallelsLieInThePixelThatContainsThem)
{
    const std::int64_t top = 1552 * 256;
    const Pixels tile = Graticule().Draw(Mercator(), {12, 3372 * 256, top});
    std::set<int> expected;
    for (int line = 3980; line <= 4000; ++line)
        expected.insert(static_cast<int>(std::floor(PixelRow(line * 0.01, 12))) -
                        static_cast<int>(top));
    for (int row = 0; row < kTileEdge; ++row)
        EXPECT_EQ(IsWholeRowLine(tile, row), expected.contains(row)) << row;
}

TEST(Graticule, ALineOnAPixelsEdgeBelongsToThePixelEastAndSouthOfIt)
{
    // Greenwich and the equator lie exactly between pixels.
    for (int level = 1; level <= kMaxLevel; ++level) {
        const std::int64_t middle = SidePixels(level) / 2;
        const Pixels southEast = Graticule().Draw(Mercator(), {level, middle, middle});
        EXPECT_TRUE(IsWholeColumnLine(southEast, 0)) << level;
        EXPECT_TRUE(IsWholeRowLine(southEast, 0)) << level;
        const Pixels northWest =
            Graticule().Draw(Mercator(), {level, middle - kTileEdge, middle - kTileEdge});
        EXPECT_FALSE(IsWholeColumnLine(northWest, 255)) << level;
        EXPECT_FALSE(IsWholeRowLine(northWest, 255)) << level;
    }
}

TEST(Graticule, NeighbouringCellsDiffer)
{
    // Level 0 has a line each 45 degrees, 32 pixels apart; row 20 is north of all labels.
    const Pixels tile = Graticule().Draw(Mercator(), {0, 0, 0});
    for (int column = 16; column + 32 < kTileEdge; column += 32)
        EXPECT_FALSE(tile.At(column, 20) == tile.At(column + 32, 20)) << column;
    EXPECT_FALSE(tile.At(28, 120) == tile.At(28, 150));
}

TEST(Graticule, IsTheSamePictureHoweverItIsCut)
{
    for (const int level : {0, 1, 5, 12, 17, 22}) {
        const std::int64_t start = SidePixels(level) / 2 - 128;
        const Pixels whole = Graticule().Draw(Mercator(), {level, start, start});
        const Pixels shifted = Graticule().Draw(Mercator(), {level, start + 37, start + 91});
        for (int row = 91; row < kTileEdge; ++row) {
            for (int column = 37; column < kTileEdge; ++column)
                ASSERT_EQ(whole.At(column, row), shifted.At(column - 37, row - 91)) << level;
        }
    }
}

TEST(Graticule, LabelsStandSouthEastOfTheCrossing)
{
    // Level 0: the crossing of 90 E and the equator is pixel (192, 128); "90E" above "0N".
    const Pixels tile = Graticule().Draw(Mercator(), {0, 0, 0});
    const std::string text = "90E";
    for (int i = 0; i < 3; ++i) {
        for (int row = 0; row < kGlyphHeight; ++row) {
            for (int column = 0; column < kGlyphWidth; ++column) {
                const Colour& colour = tile.At(195 + 6 * i + column, 131 + row);
                EXPECT_EQ(colour == Graticule::kInk,
                          HasInk(text[static_cast<std::size_t>(i)], column, row));
            }
        }
    }
}

TEST(Graticule, GroundBeyondThePolesIsPlain)
{
    const Pixels tile = Graticule().Draw(GridOf(GridKind::Geographic), {0, 0, 0});
    EXPECT_EQ(tile.At(100, 63), kBeyondMap);
    EXPECT_TRUE(IsWholeRowLine(tile, 64));
}

/// How many lines of a colour cross the tile's middle row, or its middle column.
int CountLines(const Pixels& tile, bool isAcross)
{
    int count = 0;
    for (int i = 0; i < tile.width; ++i)
        count += isAcross ? IsWholeColumnLine(tile, i) : IsWholeRowLine(tile, i);
    return count;
}

TEST(Graticule, TilesHoldSeveralLinesWithRoomBetween)
{
    for (int level = 3; level <= kMaxLevel; ++level) {
        for (const double latitude : {0.001, 39.9}) {
            const auto side = static_cast<double>(SidePixels(level));
            const auto column = static_cast<std::int64_t>((116.4 + 180) / 360 * side) / 256;
            const auto row = static_cast<std::int64_t>(PixelRow(latitude, level)) / 256;
            const Pixels tile = Graticule().Draw(Mercator(), {level, column * 256, row * 256});
            EXPECT_GE(CountLines(tile, true), 3) << level;
            EXPECT_GE(CountLines(tile, false), 3) << level;
            EXPECT_LE(CountLines(tile, true), 256 / kSmallestCell + 1) << level;
        }
    }
}

TEST(Graticule, LabelsKeepOffEachOther)
{
    for (int level = 0; level <= kMaxLevel; ++level) {
        const double pixelsPerDegree = Mercator().PixelsPerDegree(level);
        const Spacing spacing = SpacingAt(pixelsPerDegree);
        const double apart =
            LabelStep(spacing, pixelsPerDegree) * spacing.Degrees() * pixelsPerDegree;
        const int points = spacing.decimals > 0 ? spacing.decimals + 1 : 0;
        EXPECT_GE(apart, kGlyphAdvance * (4 + points)) << level;
        EXPECT_LE(apart, 256) << level;
    }
}

TEST(Graticule, LinesAndLabelsAreToldApartByColour)
{
    // Red alone is low in labels and parallels, blue alone in labels and meridians; both are light
    // in the ground.
    EXPECT_GT(Graticule::kMeridian.red, 200);
    EXPECT_LT(Graticule::kMeridian.blue + Graticule::kMeridian.green, 20);
    EXPECT_GT(Graticule::kParallel.blue, 200);
    EXPECT_LT(Graticule::kParallel.red + Graticule::kParallel.green, 20);
    EXPECT_LT(Graticule::kInk.red + Graticule::kInk.blue, 20);
    const Pixels tile = Graticule().Draw(Mercator(), {12, 3372 * 256, 1552 * 256});
    for (const Colour& colour : tile.data)
        EXPECT_TRUE(colour == Graticule::kMeridian || colour == Graticule::kParallel ||
                    colour == Graticule::kCrossing || colour == Graticule::kInk ||
                    colour == Graticule::kEvenGround || colour == Graticule::kOddGround);
}

TEST(Graticule, ATileOfDoubleEdgeIsFourTiles)
{
    const Pixels large = Graticule().Draw(Mercator(), {6, 1024, 512, 512});
    ASSERT_EQ(large.width, 512);
    for (const int right : {0, 1}) {
        for (const int down : {0, 1}) {
            const Pixels quarter =
                Graticule().Draw(Mercator(), {6, 1024 + right * 256, 512 + down * 256});
            for (int row = 0; row < 256; ++row) {
                for (int column = 0; column < 256; ++column)
                    ASSERT_EQ(large.At(right * 256 + column, down * 256 + row),
                              quarter.At(column, row));
            }
        }
    }
}

TEST(Graticule, LabelsAreTheShortestDecimals)
{
    EXPECT_EQ(LineLabel({25, 2}, 465, 'E', 'W'), "116.25E");
    EXPECT_EQ(LineLabel({5, 1}, 79, 'N', 'S'), "39.5N");
    EXPECT_EQ(LineLabel({5, 1}, -80, 'N', 'S'), "40S");
    EXPECT_EQ(LineLabel({5, 5}, -1, 'E', 'W'), "0.00005W");
    EXPECT_EQ(LineLabel({10, 0}, 0, 'E', 'W'), "0E");
}

TEST(Font, HoldsEveryCharacterOfALabelAndNoTwoAlike)
{
    std::set<std::string> shapes;
    for (const char character : std::string("0123456789NESW.")) {
        std::string shape;
        for (int row = 0; row < kGlyphHeight; ++row) {
            for (int column = 0; column < kGlyphWidth; ++column)
                shape += HasInk(character, column, row) ? '#' : ' ';
        }
        EXPECT_NE(shape.find('#'), std::string::npos) << character;
        shapes.insert(shape);
    }
    EXPECT_EQ(shapes.size(), 15U);
    EXPECT_FALSE(HasInk('?', 2, 2));
    EXPECT_FALSE(HasInk('8', -1, 0));
    EXPECT_EQ(TextWidth("39.5N"), 29);
}

} // namespace
} // namespace KxOrigin
