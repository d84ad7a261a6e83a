// SPDX-License-Identifier: MIT
#include "KxImgUtility.h"
#include "TestFiles.h"

#include <gtest/gtest.h>
#include <png.h>

#include <cstring>
#include <string_view>

namespace KxC {
namespace {

using namespace ImageTest;

bool IsCompleted(const Bytes& file, const char* hint = "")
{
    return KxImgUtility::IsCompletedImage(
               file.data(), static_cast<unsigned int>(file.size()), hint) == 1;
}

struct Sample
{
    const char* name;
    const char* ext;
    Bytes file;
};

Bytes InterlacedPng()
{
    PngOptions options{PNG_COLOR_TYPE_RGB};
    options.interlaced = true;
    options.withText = true;
    return PngFile(
        19, 17, options, [](int row, unsigned char* packed) { std::memset(packed, row, 57); });
}

Bytes AnimatedGif()
{
    GifOptions options{24, 16};
    options.frames = 3;
    options.transparentIndex = 4;
    options.localColours = true;
    return GifFile(Graded(24, 16, 1), options);
}

/// Small files of every kind, from the format libraries' own encoders.
std::vector<Sample> Samples()
{
    const NorthUp colour = Smooth(24, 16, 3);
    return {{"png", ".png", PngFile(Graded(24, 16, 4))},
            {"interlaced png", ".png", InterlacedPng()},
            {"jpeg", ".jpeg", JpegFile(colour, JpegKind::Colour, 85)},
            {"jpeg with restarts", ".jpeg", JpegFile(colour, JpegKind::Colour, 85, true)},
            {"progressive jpeg", ".jpeg", JpegFile(colour, JpegKind::Progressive, 85)},
            {"lossy webp", ".webp", WebpFile(colour, false)},
            {"lossless webp", ".webp", WebpFile(Graded(24, 16, 4), true)},
            {"lossy webp with alpha", ".webp", WebpFile(Smooth(24, 16, 4), false)},
            {"gif", ".gif", GifFile(Graded(24, 16, 1), {24, 16})},
            {"animated gif", ".gif", AnimatedGif()}};
}

TEST(KxImgUtility, WholeFilesAreComplete)
{
    for (const Sample& sample : Samples()) {
        EXPECT_TRUE(IsCompleted(sample.file)) << sample.name;
        EXPECT_TRUE(IsCompleted(sample.file, sample.ext)) << sample.name;
    }
}

TEST(KxImgUtility, EveryTruncationIsIncomplete)
{
    for (const Sample& sample : Samples())
        for (std::size_t size = 0; size < sample.file.size(); ++size) {
            // A buffer of exactly this size, so that reading past it is seen.
            const Bytes cut(sample.file.begin(),
                            sample.file.begin() + static_cast<std::ptrdiff_t>(size));
            ASSERT_FALSE(IsCompleted(cut)) << sample.name << " cut to " << size;
        }
}

TEST(KxImgUtility, BytesAfterTheEndAreTolerated)
{
    for (Sample& sample : Samples())
        for (const int extra : {0x00, 0x0A, 0xFF}) {
            sample.file.push_back(static_cast<unsigned char>(extra));
            EXPECT_TRUE(IsCompleted(sample.file)) << sample.name;
        }
}

TEST(KxImgUtility, AHintThatDisagreesMeansIncomplete)
{
    for (const Sample& sample : Samples())
        for (const char* ext : {".png", ".jpeg", ".webp", ".gif", ".tif", ".bmp"})
            EXPECT_EQ(std::string_view(ext) == sample.ext, IsCompleted(sample.file, ext))
                << sample.name << ext;
    EXPECT_TRUE(IsCompleted(JpegFile(Smooth(8, 8, 3), JpegKind::Colour, 85), ".jpg"));
    EXPECT_TRUE(IsCompleted(JpegFile(Smooth(8, 8, 3), JpegKind::Colour, 85), "JPG"));
}

TEST(KxImgUtility, DocumentsInPlaceOfImagesAreIncomplete)
{
    for (const std::string_view text : {"",
                                        "<!DOCTYPE html><html><body>404</body></html>",
                                        "<?xml version=\"1.0\"?><ServiceException/>",
                                        "{\"error\":\"no such tile\"}",
                                        "Not found",
                                        "GIF89a",
                                        "RIFF",
                                        "\xFF\xD8\xFF\xD9"})
        EXPECT_FALSE(IsCompleted(Bytes(text.begin(), text.end()))) << text;
    EXPECT_EQ(0, KxImgUtility::IsCompletedImage(nullptr, 10, ""));
}

TEST(KxImgUtility, ADamagedPngByteIsIncomplete)
{
    const Bytes whole = PngFile(Graded(24, 16, 3));
    for (std::size_t i = 0; i < whole.size(); ++i) {
        Bytes damaged = whole;
        damaged[i] ^= 0x10;
        ASSERT_FALSE(IsCompleted(damaged)) << i;
    }
}

TEST(KxImgUtility, AJpegThumbnailDoesNotEndTheFile)
{
    // A whole small JPEG inside an application segment, and the picture cut off.
    const Bytes inner = JpegFile(Smooth(8, 8, 3), JpegKind::Colour, 60);
    const Bytes outer = JpegFile(Smooth(24, 16, 3), JpegKind::Colour, 85);
    Bytes file = {0xFF,
                  0xD8,
                  0xFF,
                  0xE1,
                  static_cast<unsigned char>((inner.size() + 2) >> 8),
                  static_cast<unsigned char>(inner.size() + 2)};
    file.insert(file.end(), inner.begin(), inner.end());
    file.insert(file.end(), outer.begin() + 2, outer.end());
    EXPECT_TRUE(IsCompleted(file));
    file.resize(file.size() - 2);
    EXPECT_FALSE(IsCompleted(file));
}

} // namespace
} // namespace KxC
