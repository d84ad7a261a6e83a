// SPDX-License-Identifier: MIT
#include "KxImgUtility.h"
#include "TestFiles.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <utility>

namespace KxC {
namespace {

using namespace ImageTest;

/// Encodes through the operation under test; empty when it failed.
Bytes Save(const NorthUp& picture, const char* ext)
{
    const Bytes pixels = SouthUpPixels(picture);
    unsigned char* data = nullptr;
    unsigned int size = 0;
    if (KxImgUtility::SaveImageToMemory(pixels.data(),
                                        picture.width,
                                        picture.height,
                                        picture.channels * 8,
                                        data,
                                        size,
                                        ext,
                                        0) == 0) {
        EXPECT_EQ(nullptr, data);
        EXPECT_EQ(0U, size);
        return {};
    }
    Bytes file(data, data + size);
    std::free(data);
    return file;
}

constexpr int kPngRgb = 2;
constexpr int kPngPalette = 3;
constexpr int kPngRgba = 6;

TEST(KxImgUtility, SavesTrueColourPngExactly)
{
    const NorthUp picture = Graded(259, 131, 3);
    const Bytes file = Save(picture, ".png");
    EXPECT_EQ(kPngRgb, PngColourType(file));
    EXPECT_EQ(0, MaxDifference(picture, ReadPng(file)));
}

TEST(KxImgUtility, SavesPngWithAlphaExactly)
{
    const NorthUp picture = Graded(131, 259, 4);
    const Bytes file = Save(picture, ".png");
    EXPECT_EQ(kPngRgba, PngColourType(file));
    EXPECT_EQ(0, MaxDifference(picture, ReadPng(file)));
}

TEST(KxImgUtility, SavesPngOfUpTo256ColoursAsPalette)
{
    for (const int channels : {3, 4})
        for (const int colours : {1, 2, 255, 256, 257, 300}) {
            const NorthUp picture = Patches(64, 64, channels, colours);
            const Bytes file = Save(picture, "png");
            const int trueColour = channels == 4 ? kPngRgba : kPngRgb;
            EXPECT_EQ(colours <= 256 ? kPngPalette : trueColour, PngColourType(file)) << colours;
            EXPECT_EQ(0, MaxDifference(picture, ReadPng(file))) << colours;
        }
}

TEST(KxImgUtility, KeepsTheAlphaChannelOfAnOpaquePalettePng)
{
    NorthUp picture = Patches(20, 10, 4, 7);
    for (std::size_t i = 3; i < picture.pixels.size(); i += 4)
        picture.pixels[i] = 255;
    const Bytes file = Save(picture, ".PNG");
    EXPECT_EQ(kPngPalette, PngColourType(file));
    EXPECT_EQ(0, MaxDifference(picture, ReadPng(file)));
}

TEST(KxImgUtility, SavesPngOfAnySmallSize)
{
    for (int width = 1; width <= 18; ++width)
        for (int height = 1; height <= 5; ++height) {
            const NorthUp picture = Graded(width, height, 3);
            EXPECT_EQ(0, MaxDifference(picture, ReadPng(Save(picture, ".png"))));
        }
}

TEST(KxImgUtility, SavesPngOfIncompressiblePixels)
{
    NorthUp picture = Graded(300, 300, 4);
    unsigned int state = 12345;
    for (unsigned char& byte : picture.pixels) {
        state = state * 1664525U + 1013904223U;
        byte = static_cast<unsigned char>(state >> 24);
    }
    EXPECT_EQ(0, MaxDifference(picture, ReadPng(Save(picture, ".png"))));
}

TEST(KxImgUtility, SavesJpegUprightAndClose)
{
    const NorthUp picture = Smooth(250, 130, 3);
    for (const char* ext : {".jpeg", ".jpg", "JPG", "jpeg"}) {
        const Bytes file = Save(picture, ext);
        EXPECT_LE(MaxDifference(picture, ReadJpeg(file)), 8) << ext;
    }
}

TEST(KxImgUtility, JpegDropsTheAlphaChannel)
{
    const NorthUp picture = Smooth(64, 48, 4);
    NorthUp expected{64, 48, 3, {}};
    for (std::size_t i = 0; i < picture.pixels.size(); ++i)
        if (i % 4 != 3)
            expected.pixels.push_back(picture.pixels[i]);
    EXPECT_LE(MaxDifference(expected, ReadJpeg(Save(picture, ".jpeg"))), 8);
}

TEST(KxImgUtility, SavesWebpUprightAndClose)
{
    for (const int channels : {3, 4}) {
        const NorthUp picture = Smooth(250, 130, channels);
        EXPECT_LE(MaxDifference(picture, ReadWebp(Save(picture, ".webp"))), 12);
    }
}

TEST(KxImgUtility, SavesTiffExactly)
{
    for (const int channels : {3, 4})
        for (const char* ext : {".tif", ".tiff", "TIF"}) {
            const NorthUp picture = Graded(259, 131, channels);
            EXPECT_EQ(0, MaxDifference(picture, ReadTiff(Save(picture, ext))));
        }
}

TEST(KxImgUtility, SavesTiffOfSeveralStripsAndOfLittle)
{
    // 400 rows of 1300 pixels are several strips, the last one shorter.
    for (const auto& [width, height] : {std::pair(1300, 400), {1, 1}, {1, 300}, {300, 1}})
        for (const int channels : {3, 4}) {
            const NorthUp picture = Graded(width, height, channels);
            EXPECT_EQ(0, MaxDifference(picture, ReadTiff(Save(picture, ".tif"))));
        }
    NorthUp noise = Graded(700, 300, 4);
    unsigned int state = 54321;
    for (unsigned char& byte : noise.pixels) {
        state = state * 1664525U + 1013904223U;
        byte = static_cast<unsigned char>(state >> 24);
    }
    EXPECT_EQ(0, MaxDifference(noise, ReadTiff(Save(noise, ".tif"))));
}

TEST(KxImgUtility, SaveRefusesWhatItCannotEncode)
{
    const unsigned char pixels[16] = {};
    const auto save = [&](const unsigned char* p, int w, int h, int bits, const char* ext) {
        unsigned char* data = nullptr;
        unsigned int size = 7;
        const bool saved = KxImgUtility::SaveImageToMemory(p, w, h, bits, data, size, ext, 0) != 0;
        EXPECT_EQ(nullptr, data);
        EXPECT_EQ(0U, size);
        return saved;
    };
    EXPECT_FALSE(save(nullptr, 1, 1, 24, ".png"));
    EXPECT_FALSE(save(pixels, 0, 1, 24, ".png"));
    EXPECT_FALSE(save(pixels, 1, -1, 24, ".png"));
    EXPECT_FALSE(save(pixels, 16385, 1, 24, ".png"));
    EXPECT_FALSE(save(pixels, INT_MAX, INT_MAX, 24, ".png"));
    EXPECT_FALSE(save(pixels, 1, 1, 8, ".png"));
    EXPECT_FALSE(save(pixels, 1, 1, 24, ".gif"));
    EXPECT_FALSE(save(pixels, 1, 1, 24, ".bmp"));
    EXPECT_FALSE(save(pixels, 1, 1, 24, ""));
    EXPECT_FALSE(save(pixels, 1, 1, 24, "."));
}

TEST(KxImgUtility, SavesFilesNorthUpWhateverTheRowPadding)
{
    const TemporaryFolder folder;
    for (const int channels : {3, 4}) {
        const NorthUp graded = Graded(131, 67, channels);
        const NorthUp smooth = Smooth(131, 67, 3);
        const auto image = ToImage(graded, 131 * channels + 17);
        const auto smoothImage = ToImage(smooth, 131 * 3 + 1);
        ASSERT_EQ(1, KxImgUtility::SaveImageFile(image.get(), folder.Path("a.png").c_str(), 0));
        ASSERT_EQ(1, KxImgUtility::SaveImageFile(image.get(), folder.Path("a.TIF").c_str(), 0));
        ASSERT_EQ(1,
                  KxImgUtility::SaveImageFile(smoothImage.get(), folder.Path("a.jpg").c_str(), 0));
        ASSERT_EQ(1,
                  KxImgUtility::SaveImageFile(smoothImage.get(), folder.Path("a.webp").c_str(), 0));
        EXPECT_EQ(0, MaxDifference(graded, ReadPng(FileBytes(folder.Path("a.png")))));
        EXPECT_EQ(0, MaxDifference(graded, ReadTiff(FileBytes(folder.Path("a.TIF")))));
        EXPECT_LE(MaxDifference(smooth, ReadJpeg(FileBytes(folder.Path("a.jpg")))), 6);
        EXPECT_LE(MaxDifference(smooth, ReadWebp(FileBytes(folder.Path("a.webp")))), 10);
    }
    EXPECT_THAT(folder.Names(), testing::ElementsAre("a.TIF", "a.jpg", "a.png", "a.webp"));
}

TEST(KxImgUtility, FailedFileSavesLeaveNothingBehind)
{
    const TemporaryFolder folder;
    const auto image = ToImage(Graded(8, 8, 3));
    std::filesystem::create_directories(folder.Path("taken.png/inside"));
    EXPECT_EQ(0, KxImgUtility::SaveImageFile(image.get(), folder.Path("taken.png").c_str(), 0));
    EXPECT_EQ(0, KxImgUtility::SaveImageFile(image.get(), folder.Path("none/a.png").c_str(), 0));
    EXPECT_EQ(0, KxImgUtility::SaveImageFile(image.get(), folder.Path("a.xyz").c_str(), 0));
    EXPECT_EQ(0, KxImgUtility::SaveImageFile(image.get(), folder.Path("a").c_str(), 0));
    EXPECT_EQ(0, KxImgUtility::SaveImageFile(nullptr, folder.Path("a.png").c_str(), 0));
    const KxImageData noPicture(0, 0, KxPixelFormat_RGB);
    EXPECT_EQ(0, KxImgUtility::SaveImageFile(&noPicture, folder.Path("a.png").c_str(), 0));
    EXPECT_THAT(folder.Names(), testing::ElementsAre("taken.png"));
}

TEST(KxImgUtility, SavingAFileReplacesTheOldOne)
{
    const TemporaryFolder folder;
    const std::string path = folder.Path("a.png");
    std::ofstream(path) << "old";
    const NorthUp picture = Graded(9, 7, 3);
    ASSERT_EQ(1, KxImgUtility::SaveImageFile(ToImage(picture).get(), path.c_str(), 0));
    EXPECT_EQ(0, MaxDifference(picture, ReadPng(FileBytes(path))));
}

} // namespace
} // namespace KxC
