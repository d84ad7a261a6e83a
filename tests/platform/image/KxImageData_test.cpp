// SPDX-License-Identifier: MIT
#include "KxImageData.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <cstdint>
#include <limits>
#include <utility>
#include <vector>

namespace KxC {
namespace {

using Pixel3 = std::array<unsigned char, 3>;
using Pixel4 = std::array<unsigned char, 4>;

/// Chooses bilinear sampling for one test.
class Bilinear
{
public:
    Bilinear() { KxImageData::SetBilinear(true); }
    ~Bilinear() { KxImageData::SetBilinear(false); }
    Bilinear(const Bilinear&) = delete;
    Bilinear& operator=(const Bilinear&) = delete;
};

/// Red tells the column, green the row.
void PaintPositions(KxImageData& image)
{
    for (int row = 0; row < image.GetHeight(); ++row)
        for (int column = 0; column < image.GetWidth(); ++column) {
            const Pixel4 pixel = {static_cast<unsigned char>(column),
                                  static_cast<unsigned char>(row),
                                  77,
                                  static_cast<unsigned char>(100 + column)};
            ASSERT_EQ(1, image.SetValue(row, column, pixel.data(), image.GetPixelSize()));
        }
}

Pixel3 Sample3(const KxImageData& image, double u, double v)
{
    Pixel3 pixel = {};
    EXPECT_EQ(1, image.GetValue2(u, v, pixel.data(), 3));
    return pixel;
}

Pixel4 Sample4(const KxImageData& image, double u, double v)
{
    Pixel4 pixel = {};
    EXPECT_EQ(1, image.GetValue2(u, v, pixel.data(), 4));
    return pixel;
}

TEST(KxImageData, StartsZeroFilledWithRowsSideBySide)
{
    const KxImageData image(5, 3, KxPixelFormat_RGBA);
    EXPECT_EQ(5, image.GetWidth());
    EXPECT_EQ(3, image.GetHeight());
    EXPECT_EQ(4, image.GetPixelSize());
    EXPECT_EQ(20, image.GetRowBytes());
    for (int i = 0; i < 60; ++i)
        EXPECT_EQ(0, image.GetData()[i]);
}

TEST(KxImageData, KeepsPaddedRowsApart)
{
    KxImageData image(2, 2, KxPixelFormat_RGB, 8);
    PaintPositions(image);
    EXPECT_EQ(8, image.GetRowBytes());
    EXPECT_EQ(1, image.GetData()[8 + 1]); // green of row 1, column 0
    EXPECT_EQ(0, image.GetData()[6]);     // padding
}

TEST(KxImageData, RefusesSizesOutsideItsLimits)
{
    struct Case
    {
        int width, height, format, rowBytes;
    };
    for (const Case& c : {Case{0, 1, 20, 0},
                          Case{1, 0, 20, 0},
                          Case{-1, 1, 20, 0},
                          Case{0, 10, 20, 4},
                          Case{-5, 10, 20, 100},
                          Case{21846, 32768, 20, 0}, // 64 KiB above 2 GiB
                          Case{32768, 16384, 21, 0}, // 2 GiB
                          Case{65536, 65536, 20, 0}, // counted in 32 bits, nothing
                          Case{1, 16, 20, 1 << 28},
                          Case{715827883, 1, 20, 0},
                          Case{INT_MAX, 1, 21, 0},
                          Case{INT_MAX, INT_MAX, 20, 0},
                          Case{10, 10, 22, 0},
                          Case{10, 10, 20, 29},
                          Case{10, 10, 20, -1}}) {
        const KxImageData image(c.width, c.height, c.format, c.rowBytes);
        EXPECT_EQ(0, image.GetWidth());
        EXPECT_EQ(0, image.GetHeight());
        EXPECT_EQ(nullptr, image.GetData());
        unsigned char pixel[4];
        EXPECT_EQ(0, image.GetValue2(0, 0, pixel, 3));
    }
}

TEST(KxImageData, MayBeLargerThanPicturesFromOutside)
{
    for (const auto& [width, height] : {std::pair(16385, 2), {2, 16385}, {8001, 8001}}) {
        KxImageData image(width, height, KxPixelFormat_RGBA);
        ASSERT_EQ(width, image.GetWidth());
        const Pixel4 pixel = {1, 2, 3, 4};
        ASSERT_EQ(1, image.SetValue(height - 1, width - 1, pixel.data(), 4));
        EXPECT_EQ(pixel, Sample4(image, 1, 1));
    }
}

/// What a picture of one pixel size holds, by row and column.
std::vector<Pixel4> PixelsOf(const KxImageData& image)
{
    std::vector<Pixel4> pixels;
    for (int row = 0; row < image.GetHeight(); ++row)
        for (int column = 0; column < image.GetWidth(); ++column) {
            const unsigned char* const at =
                image.GetData() + row * image.GetRowBytes() + column * image.GetPixelSize();
            pixels.push_back(
                {at[0], at[1], at[2], image.GetPixelSize() == 4 ? at[3] : std::uint8_t{255}});
        }
    return pixels;
}

TEST(KxImageData, GetsAlphaInPlace)
{
    for (const int rowBytes : {0, 24, 40}) { // 7 pixels, and more than those with alpha take
        KxImageData image(7, 5, KxPixelFormat_RGB, rowBytes);
        PaintPositions(image);
        std::vector<Pixel4> expected = PixelsOf(image);
        std::fill(expected.begin() + 3 * 7, expected.end(), Pixel4{});
        ASSERT_EQ(1, image.AddAlpha(3));
        EXPECT_EQ(4, image.GetPixelSize());
        EXPECT_EQ(expected, PixelsOf(image)) << rowBytes;
        EXPECT_EQ(1, image.AddAlpha(0)) << "it has alpha";
        EXPECT_EQ(expected, PixelsOf(image));
    }
}

TEST(KxImageData, GetsAlphaInAllOrNoneOfItsRows)
{
    for (const int rows : {-1, 0, 5, 6}) {
        KxImageData image(3, 5, KxPixelFormat_RGB);
        PaintPositions(image);
        std::vector<Pixel4> expected = PixelsOf(image);
        if (rows <= 0)
            std::fill(expected.begin(), expected.end(), Pixel4{});
        ASSERT_EQ(1, image.AddAlpha(rows));
        EXPECT_EQ(expected, PixelsOf(image));
    }
    KxImageData none(0, 0, KxPixelFormat_RGB);
    EXPECT_EQ(0, none.AddAlpha(0));
}

TEST(KxImageData, StaysWithoutAlphaWhereThatWouldExceedTheLimit)
{
    // Its memory is never touched.
    KxImageData image(600000000, 1, KxPixelFormat_RGB);
    ASSERT_NE(nullptr, image.GetData());
    EXPECT_EQ(0, image.AddAlpha(1));
    EXPECT_EQ(3, image.GetPixelSize());
    EXPECT_EQ(600000000, image.GetWidth());
}

TEST(KxImageData, LosesItsAlphaInPlace)
{
    KxImageData image(7, 5, KxPixelFormat_RGBA);
    PaintPositions(image);
    std::vector<Pixel4> expected = PixelsOf(image);
    for (Pixel4& pixel : expected)
        pixel[3] = 255;
    image.DropAlpha();
    EXPECT_EQ(3, image.GetPixelSize());
    EXPECT_EQ(24, image.GetRowBytes()) << "21 bytes in whole words";
    EXPECT_EQ(expected, PixelsOf(image));
}

TEST(KxImageData, NearestTakesThePixelThatContainsThePosition)
{
    KxImageData image(10, 4, KxPixelFormat_RGB);
    PaintPositions(image);
    for (int row = 0; row < 4; ++row)
        for (int column = 0; column < 10; ++column)
            for (const double inside : {0.0, 0.5, 0.999}) {
                const double u = (column + inside + 1e-9) / 10;
                const double v = (row + inside + 1e-9) / 4;
                const Pixel3 expected = {
                    static_cast<unsigned char>(column), static_cast<unsigned char>(row), 77};
                EXPECT_EQ(expected, Sample3(image, u, v));
            }
}

TEST(KxImageData, SamplingClampsPositionsOutside)
{
    KxImageData image(10, 4, KxPixelFormat_RGB);
    PaintPositions(image);
    const double infinity = std::numeric_limits<double>::infinity();
    EXPECT_EQ((Pixel3{0, 0, 77}), Sample3(image, -0.5, -infinity));
    EXPECT_EQ((Pixel3{9, 3, 77}), Sample3(image, 1.0, infinity));
    EXPECT_EQ((Pixel3{9, 3, 77}), Sample3(image, 1e300, 7));
    const Bilinear on;
    EXPECT_EQ((Pixel3{0, 0, 77}), Sample3(image, -0.5, -infinity));
    EXPECT_EQ((Pixel3{9, 3, 77}), Sample3(image, infinity, 7));
}

TEST(KxImageData, SamplingRefusesWhatIsNotANumber)
{
    const KxImageData image(2, 2, KxPixelFormat_RGB);
    const double nan = std::numeric_limits<double>::quiet_NaN();
    unsigned char pixel[5] = {9, 9, 9, 9, 9};
    for (const bool bilinear : {false, true}) {
        KxImageData::SetBilinear(bilinear);
        EXPECT_EQ(0, image.GetValue2(nan, 0, pixel, 3));
        EXPECT_EQ(0, image.GetValue2(0, nan, pixel, 3));
        EXPECT_EQ(0, image.GetValue2(0, 0, pixel, 2));
        EXPECT_EQ(0, image.GetValue2(0, 0, pixel, 5));
        EXPECT_EQ(0, image.GetValue2(0, 0, nullptr, 3));
    }
    KxImageData::SetBilinear(false);
    EXPECT_EQ(9, pixel[0]);
}

TEST(KxImageData, SamplingAddsOpaqueAlphaAndDropsSurplusAlpha)
{
    KxImageData colour(2, 1, KxPixelFormat_RGB);
    KxImageData alpha(2, 1, KxPixelFormat_RGBA);
    PaintPositions(colour);
    PaintPositions(alpha);
    for (const bool bilinear : {false, true}) {
        KxImageData::SetBilinear(bilinear);
        EXPECT_EQ((Pixel4{0, 0, 77, 255}), Sample4(colour, 0, 0));
        EXPECT_EQ((Pixel4{0, 0, 77, 100}), Sample4(alpha, 0, 0));
        std::array<unsigned char, 4> pixel = {1, 1, 1, 42};
        EXPECT_EQ(1, alpha.GetValue2(0, 0, pixel.data(), 3));
        EXPECT_EQ((Pixel4{0, 0, 77, 42}), pixel);
    }
    KxImageData::SetBilinear(false);
}

TEST(KxImageData, BilinearFollowsTheFormula)
{
    KxImageData image(2, 2, KxPixelFormat_RGB);
    const Pixel3 corners[2][2] = {{{0, 10, 255}, {200, 20, 255}}, {{100, 30, 255}, {40, 80, 0}}};
    for (int row = 0; row < 2; ++row)
        for (int column = 0; column < 2; ++column)
            image.SetValue(row, column, corners[row][column].data(), 3);
    const Bilinear on;
    for (const double u : {0.0, 0.1, 0.5, 0.77, 1.0})
        for (const double v : {0.0, 0.3, 0.5, 0.9, 1.0}) {
            const Pixel3 sampled = Sample3(image, u, v);
            for (std::size_t i = 0; i < 3; ++i) {
                const double south = corners[0][0][i] * (1 - u) + corners[0][1][i] * u;
                const double north = corners[1][0][i] * (1 - u) + corners[1][1][i] * u;
                EXPECT_NEAR(south * (1 - v) + north * v, sampled[i], 0.5 + 1e-9);
            }
        }
}

TEST(KxImageData, BilinearReproducesItsSourceOnTheSameGrid)
{
    KxImageData image(256, 256, KxPixelFormat_RGBA);
    PaintPositions(image);
    const Bilinear on;
    for (int row = 0; row < 256; ++row)
        for (int column = 0; column < 256; ++column) {
            const Pixel4 expected = {static_cast<unsigned char>(column),
                                     static_cast<unsigned char>(row),
                                     77,
                                     static_cast<unsigned char>(100 + column)};
            ASSERT_EQ(expected, Sample4(image, column / 255.0, row / 255.0));
        }
}

TEST(KxImageData, BilinearDoesNotMixInColoursUnderTransparentPixels)
{
    KxImageData image(2, 1, KxPixelFormat_RGBA);
    const Pixel4 seen = {200, 100, 50, 255};
    const Pixel4 hidden = {0, 0, 0, 0};
    image.SetValue(0, 0, seen.data(), 4);
    image.SetValue(0, 1, hidden.data(), 4);
    const Bilinear on;
    EXPECT_EQ((Pixel4{200, 100, 50, 128}), Sample4(image, 0.5, 0));
}

TEST(KxImageData, SetValueRefusesWhatDoesNotFit)
{
    KxImageData image(3, 2, KxPixelFormat_RGB);
    const unsigned char pixel[4] = {1, 2, 3, 4};
    EXPECT_EQ(1, image.SetValue(1, 2, pixel, 3));
    EXPECT_EQ(0, image.SetValue(2, 0, pixel, 3));
    EXPECT_EQ(0, image.SetValue(0, 3, pixel, 3));
    EXPECT_EQ(0, image.SetValue(-1, 0, pixel, 3));
    EXPECT_EQ(0, image.SetValue(0, -1, pixel, 3));
    EXPECT_EQ(0, image.SetValue(0, 0, pixel, 4));
    EXPECT_EQ(0, image.SetValue(0, 0, nullptr, 3));
}

TEST(KxImageData, AlignsRowsToWholeWords)
{
    EXPECT_EQ(0, KxImageData::GetAlignWidth4Bytes(0));
    EXPECT_EQ(4, KxImageData::GetAlignWidth4Bytes(1));
    EXPECT_EQ(4, KxImageData::GetAlignWidth4Bytes(32));
    EXPECT_EQ(8, KxImageData::GetAlignWidth4Bytes(33));
    EXPECT_EQ(12, KxImageData::GetAlignWidth4Bytes(3 * 3 * 8));
    EXPECT_EQ(268435456, KxImageData::GetAlignWidth4Bytes(INT_MAX));
    EXPECT_EQ(0, KxImageData::GetAlignWidth4Bytes(-1));
}

TEST(KxImageData, DropsAlphaInPlace)
{
    for (const int width : {1, 2, 3, 4, 5, 17})
        for (const int padding : {0, 7}) {
            KxImageData image(width, 6, KxPixelFormat_RGBA, width * 4 + padding);
            for (int row = 0; row < 6; ++row)
                for (int column = 0; column < width; ++column) {
                    const unsigned char pixel[] = {static_cast<unsigned char>(row),
                                                   static_cast<unsigned char>(column),
                                                   static_cast<unsigned char>(row * column),
                                                   200};
                    ASSERT_EQ(1, image.SetValue(row, column, pixel, 4));
                }
            image.DropAlpha();
            EXPECT_EQ(3, image.GetPixelSize());
            EXPECT_EQ((width * 3 + 3) / 4 * 4, image.GetRowBytes());
            for (int row = 0; row < 6; ++row) {
                const unsigned char* bytes = image.GetData() + row * image.GetRowBytes();
                for (int column = 0; column < width; ++column, bytes += 3) {
                    EXPECT_EQ(row, bytes[0]);
                    EXPECT_EQ(column, bytes[1]);
                    EXPECT_EQ(row * column, bytes[2]);
                }
                for (int i = width * 3; i < image.GetRowBytes(); ++i)
                    EXPECT_EQ(0, *bytes++) << "padding";
            }
            image.DropAlpha();
            EXPECT_EQ(3, image.GetPixelSize()) << "there is no more to drop";
        }
}

} // namespace
} // namespace KxC
