// SPDX-License-Identifier: MIT
#include "KxImgUtility.h"
#include "TestFiles.h"

#include <gtest/gtest.h>
#include <png.h>

#include <algorithm>
#include <cstring>

namespace KxC {
namespace {

using namespace ImageTest;

/// Decodes through the operation under test; a picture of no size when it failed.
NorthUp Load(const Bytes& file, const char* hint = "")
{
    const std::unique_ptr<KxImageData> image(KxImgUtility::LoadImageData(
        file.data(), static_cast<unsigned int>(file.size()), hint, 1, 1));
    return image == nullptr ? NorthUp{} : FromImage(*image);
}

/// A picture computed pixel by pixel.
template <typename Paint>
NorthUp Expected(int width, int height, int channels, Paint paint)
{
    NorthUp picture = Graded(width, height, channels);
    for (int row = 0; row < height; ++row)
        for (int column = 0; column < width; ++column)
            paint(row, column, picture.At(row, column));
    return picture;
}

unsigned char Byte(int value)
{
    return static_cast<unsigned char>(value);
}

TEST(KxImgUtility, LoadsTrueColourPng)
{
    for (const int channels : {3, 4}) {
        const NorthUp picture = Graded(300, 200, channels);
        EXPECT_EQ(0, MaxDifference(picture, Load(PngFile(picture))));
    }
}

TEST(KxImgUtility, LoadsInterlacedPng)
{
    for (const int channels : {3, 4}) {
        const NorthUp picture = Graded(53, 31, channels);
        PngOptions options{channels == 4 ? PNG_COLOR_TYPE_RGBA : PNG_COLOR_TYPE_RGB};
        options.interlaced = true;
        const Bytes file = PngFile(53, 31, options, [&](int row, unsigned char* packed) {
            std::memcpy(packed, picture.At(row, 0), static_cast<std::size_t>(53 * channels));
        });
        EXPECT_EQ(0, MaxDifference(picture, Load(file)));
    }
}

TEST(KxImgUtility, LoadsGreyPngAsColour)
{
    const NorthUp grey = Graded(77, 40, 1);
    const NorthUp expected = Expected(77, 40, 3, [&](int row, int column, unsigned char* pixel) {
        std::fill_n(pixel, 3, *grey.At(row, column));
    });
    EXPECT_EQ(0, MaxDifference(expected, Load(PngFile(grey))));
}

TEST(KxImgUtility, LoadsGreyPngOfFewBits)
{
    for (const int depth : {1, 2, 4}) {
        const int levels = 1 << depth;
        const PngOptions options{PNG_COLOR_TYPE_GRAY, depth};
        const Bytes file = PngFile(33, 9, options, [&](int row, unsigned char* packed) {
            for (int column = 0; column < 33; ++column)
                packed[column * depth / 8] =
                    Byte(packed[column * depth / 8] | ((row + column) % levels)
                                                          << (8 - depth - column * depth % 8));
        });
        const NorthUp expected = Expected(33, 9, 3, [&](int row, int column, unsigned char* pixel) {
            std::fill_n(pixel, 3, Byte((row + column) % levels * 255 / (levels - 1)));
        });
        EXPECT_EQ(0, MaxDifference(expected, Load(file))) << depth;
    }
}

TEST(KxImgUtility, LoadsGreyPngWithAlpha)
{
    const PngOptions options{PNG_COLOR_TYPE_GRAY_ALPHA};
    const Bytes file = PngFile(20, 10, options, [](int row, unsigned char* packed) {
        for (int column = 0; column < 20; ++column) {
            packed[2 * column] = Byte(column);
            packed[2 * column + 1] = Byte(row);
        }
    });
    const NorthUp expected = Expected(20, 10, 4, [](int row, int column, unsigned char* pixel) {
        std::fill_n(pixel, 3, Byte(column));
        pixel[3] = Byte(row);
    });
    EXPECT_EQ(0, MaxDifference(expected, Load(file)));
}

TEST(KxImgUtility, LoadsPngWithATransparentColour)
{
    PngOptions options{PNG_COLOR_TYPE_GRAY};
    options.transparentGrey = 5;
    const Bytes file = PngFile(20, 10, options, [](int, unsigned char* packed) {
        for (int column = 0; column < 20; ++column)
            packed[column] = Byte(column);
    });
    const NorthUp expected = Expected(20, 10, 4, [](int, int column, unsigned char* pixel) {
        std::fill_n(pixel, 3, Byte(column));
        pixel[3] = column == 5 ? 0 : 255;
    });
    EXPECT_EQ(0, MaxDifference(expected, Load(file)));
}

TEST(KxImgUtility, LoadsPalettePng)
{
    for (const bool transparent : {false, true}) {
        PngOptions options{PNG_COLOR_TYPE_PALETTE};
        for (int i = 0; i < 40; ++i)
            for (const int value : {i, 200 - i, 3 * i})
                options.palette.push_back(Byte(value));
        if (transparent)
            options.paletteAlpha = {0, 90};
        const Bytes file = PngFile(40, 6, options, [](int row, unsigned char* packed) {
            for (int column = 0; column < 40; ++column)
                packed[column] = Byte((row + column) % 40);
        });
        const NorthUp expected =
            Expected(40, 6, transparent ? 4 : 3, [&](int row, int column, unsigned char* pixel) {
                const int index = (row + column) % 40;
                pixel[0] = Byte(index);
                pixel[1] = Byte(200 - index);
                pixel[2] = Byte(3 * index);
                if (transparent)
                    pixel[3] = index == 0 ? 0 : index == 1 ? 90 : 255;
            });
        EXPECT_EQ(0, MaxDifference(expected, Load(file)));
    }
}

TEST(KxImgUtility, Loads16BitPngRoundedTo8)
{
    const PngOptions options{PNG_COLOR_TYPE_RGB, 16};
    const auto sample = [](int row, int column, int channel) {
        return (column * 977 + row * 4111 + channel * 20011) & 0xFFFF;
    };
    const Bytes file = PngFile(50, 20, options, [&](int row, unsigned char* packed) {
        for (int i = 0; i < 150; ++i) {
            const int value = sample(row, i / 3, i % 3);
            packed[2 * i] = Byte(value >> 8);
            packed[2 * i + 1] = Byte(value & 255);
        }
    });
    const NorthUp expected = Expected(50, 20, 3, [&](int row, int column, unsigned char* pixel) {
        for (int channel = 0; channel < 3; ++channel)
            pixel[channel] = Byte((sample(row, column, channel) * 255 + 32767) / 65535);
    });
    EXPECT_EQ(0, MaxDifference(expected, Load(file)));
}

TEST(KxImgUtility, LoadsPngWithTexts)
{
    const NorthUp picture = Graded(20, 10, 3);
    PngOptions options{PNG_COLOR_TYPE_RGB};
    options.withText = true;
    const Bytes file = PngFile(20, 10, options, [&](int row, unsigned char* packed) {
        std::memcpy(packed, picture.At(row, 0), 60);
    });
    EXPECT_EQ(0, MaxDifference(picture, Load(file)));
}

TEST(KxImgUtility, LoadsJpegAsItsLibraryDoes)
{
    const NorthUp picture = Smooth(130, 70, 3);
    for (const JpegKind kind : {JpegKind::Colour, JpegKind::Progressive}) {
        const Bytes file = JpegFile(picture, kind, 90, kind == JpegKind::Colour);
        const NorthUp loaded = Load(file);
        EXPECT_EQ(0, MaxDifference(ReadJpeg(file), loaded));
        EXPECT_LE(MaxDifference(picture, loaded), 8);
    }
}

TEST(KxImgUtility, LoadsGreyJpegAsColour)
{
    const NorthUp grey = Smooth(65, 33, 1);
    const NorthUp expected = Expected(65, 33, 3, [&](int row, int column, unsigned char* pixel) {
        std::fill_n(pixel, 3, *grey.At(row, column));
    });
    EXPECT_LE(MaxDifference(expected, Load(JpegFile(grey, JpegKind::Grey, 95))), 4);
}

TEST(KxImgUtility, LoadsInksOfJpegAsColour)
{
    const NorthUp inks = Smooth(64, 32, 4);
    for (const JpegKind kind : {JpegKind::Cmyk, JpegKind::AdobeCmyk}) {
        // Adobe stores 255 for no ink, everyone else for full ink.
        const auto light = [&](int value) {
            return kind == JpegKind::AdobeCmyk ? value : 255 - value;
        };
        const NorthUp expected =
            Expected(64, 32, 3, [&](int row, int column, unsigned char* pixel) {
                const unsigned char* ink = inks.At(row, column);
                for (int channel = 0; channel < 3; ++channel)
                    pixel[channel] = Byte(light(ink[channel]) * light(ink[3]) / 255);
            });
        EXPECT_LE(MaxDifference(expected, Load(JpegFile(inks, kind, 98))), 6);
    }
}

TEST(KxImgUtility, LoadsLosslessWebpExactly)
{
    for (const int channels : {3, 4}) {
        const NorthUp picture = Graded(130, 70, channels);
        const NorthUp loaded = Load(WebpFile(picture, true));
        ASSERT_EQ(channels, loaded.channels);
        // Colour under full transparency is the encoder's to change.
        EXPECT_EQ(0, MaxDifference(ReadWebp(WebpFile(picture, true)), loaded));
    }
}

TEST(KxImgUtility, LoadsLossyWebpAsItsLibraryDoes)
{
    for (const int channels : {3, 4}) {
        const Bytes file = WebpFile(Smooth(131, 71, channels), false);
        EXPECT_EQ(0, MaxDifference(ReadWebp(file), Load(file)));
    }
}

/// Colour of an index in the files that GifFile makes.
void PaintGifColour(int index, unsigned char* pixel)
{
    pixel[0] = Byte(index);
    pixel[1] = Byte(255 - index);
    pixel[2] = Byte(2 * index % 256);
}

TEST(KxImgUtility, LoadsGif)
{
    for (const bool interlaced : {false, true})
        for (const bool localColours : {false, true}) {
            const NorthUp indices = Graded(101, 43, 1);
            GifOptions options{101, 43};
            options.interlaced = interlaced;
            options.localColours = localColours;
            const NorthUp expected =
                Expected(101, 43, 3, [&](int row, int column, unsigned char* pixel) {
                    PaintGifColour(*indices.At(row, column), pixel);
                });
            EXPECT_EQ(0, MaxDifference(expected, Load(GifFile(indices, options))));
        }
}

TEST(KxImgUtility, LoadsTransparentGifAsAlpha)
{
    const NorthUp indices = Graded(30, 10, 1);
    GifOptions options{30, 10};
    options.transparentIndex = 7;
    options.frames = 2;
    const NorthUp expected = Expected(30, 10, 4, [&](int row, int column, unsigned char* pixel) {
        std::fill_n(pixel, 4, Byte(0));
        if (*indices.At(row, column) == 7)
            return;
        PaintGifColour(*indices.At(row, column), pixel);
        pixel[3] = 255;
    });
    EXPECT_EQ(0, MaxDifference(expected, Load(GifFile(indices, options))));
}

TEST(KxImgUtility, LaysTheFirstGifFrameOnItsScreen)
{
    const NorthUp indices = Graded(30, 10, 1);
    GifOptions options{25, 20};
    options.left = 4;
    options.top = 13;
    const NorthUp expected = Expected(25, 20, 4, [&](int row, int column, unsigned char* pixel) {
        std::fill_n(pixel, 4, Byte(0));
        if (row < 13 || column < 4)
            return;
        PaintGifColour(*indices.At(row - 13, column - 4), pixel);
        pixel[3] = 255;
    });
    EXPECT_EQ(0, MaxDifference(expected, Load(GifFile(indices, options))));
}

TEST(KxImgUtility, LoadHonoursTheFormatHint)
{
    const NorthUp picture = Graded(8, 8, 3);
    const Bytes file = PngFile(picture);
    for (const char* right : {"", ".png", "png", ".PNG"})
        EXPECT_EQ(8, Load(file, right).width) << right;
    for (const char* wrong : {".jpeg", ".webp", ".gif", ".tif", "nonsense"})
        EXPECT_EQ(0, Load(file, wrong).width) << wrong;
}

TEST(KxImgUtility, TellsFormatsBySignature)
{
    const NorthUp picture = Smooth(8, 8, 3);
    const auto tell = [](const Bytes& file) {
        return std::string(
            KxImgUtility::TellImgExt(file.data(), static_cast<unsigned int>(file.size())).Cstr());
    };
    EXPECT_EQ(".png", tell(PngFile(picture)));
    EXPECT_EQ(".jpeg", tell(JpegFile(picture, JpegKind::Colour, 80)));
    EXPECT_EQ(".webp", tell(WebpFile(picture, true)));
    EXPECT_EQ(".gif", tell(GifFile(Graded(8, 8, 1), {8, 8})));
    EXPECT_EQ("", tell({}));
    EXPECT_EQ("", tell({'G', 'I', 'F'}));
    EXPECT_EQ("", tell({'<', 'h', 't', 'm', 'l', '>'}));
    EXPECT_EQ("", std::string(KxImgUtility::TellImgExt(nullptr, 5).Cstr()));
}

} // namespace
} // namespace KxC
