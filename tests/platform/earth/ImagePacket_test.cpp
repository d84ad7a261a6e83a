// SPDX-License-Identifier: MIT
#include "ImagePacket.h"

#include "EarthErrors.h"
#include "KxImgUtility.h"
#include "PictureBytes.h"
#include "View.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>

namespace KxC::EarthTest {
namespace {

using Earth::DamagedAnswer;

const std::string kKey = "0123456789abcdefghijklmnopqrstuv";

std::string TextOf(const KxRawData& data)
{
    return {reinterpret_cast<const char*>(data.GetData()), data.GetSize()};
}

void Fill(KxRawData& data, const std::string& bytes)
{
    auto* const copy = static_cast<unsigned char*>(std::malloc(bytes.size()));
    std::memcpy(copy, bytes.data(), bytes.size());
    data.Attach(copy, static_cast<unsigned int>(bytes.size()));
}

/// A pixel by column and row from the south.
using Painter = std::function<unsigned char(int col, int row, int channel)>;

std::string Png(int side, int pixelBytes, const Painter& painter)
{
    std::string pixels;
    for (int row = 0; row < side; ++row)
        for (int col = 0; col < side; ++col)
            for (int channel = 0; channel < pixelBytes; ++channel)
                pixels += static_cast<char>(painter(col, row, channel));
    unsigned char* bytes = nullptr;
    unsigned int size = 0;
    KxImgUtility::SaveImageToMemory(reinterpret_cast<const unsigned char*>(pixels.data()),
                                    side,
                                    side,
                                    8 * pixelBytes,
                                    bytes,
                                    size,
                                    ".png",
                                    0);
    const std::string png(reinterpret_cast<const char*>(bytes), size);
    std::free(bytes);
    return png;
}

/// Column and row show in the colours.
unsigned char Place(int col, int row, int channel)
{
    return static_cast<unsigned char>(channel == 0 ? col : channel == 1 ? row : 7);
}

std::unique_ptr<KxImageData> Decode(const KxRawData& data)
{
    return std::unique_ptr<KxImageData>(
        KxImgUtility::LoadImageData(data.GetData(), data.GetSize(), ".png", 1, 1));
}

const std::string kJpegBegin = "\xFF\xD8\xFF\xE0 and so on";

TEST(OpenImage, TakesPlainAndEncryptedPictures)
{
    for (const std::string& packet : {kJpegBegin, Encrypt(kJpegBegin, kKey)}) {
        KxRawData data;
        Fill(data, packet);
        EXPECT_TRUE(Earth::OpenImage(data, View(kKey)));
        EXPECT_EQ(TextOf(data), kJpegBegin);
    }
}

TEST(OpenImage, TakesThePictureOutOfItsEnvelope)
{
    const std::string png = Png(4, 3, Place);
    for (const std::string& wrapped : {Text(2, png),
                                       Number(1, 4) + Text(2, png) + Number(5, 7),
                                       // Alpha of a kind that has no description is left out.
                                       Text(2, png) + Number(3, 3) + Text(4, "runs")}) {
        for (const std::string& packet : {wrapped, Encrypt(wrapped, kKey)}) {
            KxRawData data;
            Fill(data, packet);
            EXPECT_TRUE(Earth::OpenImage(data, View(kKey)));
            EXPECT_EQ(TextOf(data), png);
        }
    }
}

TEST(OpenImage, GivesThePictureItsAlpha)
{
    const std::string grey = Png(4, 3, [](int col, int row, int) {
        return static_cast<unsigned char>(100 + 10 * row + col);
    });
    const std::string rgba = Png(4, 4, [](int col, int row, int channel) {
        return static_cast<unsigned char>(channel == 3 ? 100 + 10 * row + col : 50);
    });
    for (const std::string& alpha : {grey, rgba}) {
        KxRawData data;
        Fill(data, Encrypt(Text(2, Png(4, 3, Place)) + Number(3, 1) + Text(4, alpha), kKey));
        ASSERT_TRUE(Earth::OpenImage(data, View(kKey)));
        const auto image = Decode(data);
        ASSERT_NE(image, nullptr);
        ASSERT_EQ(image->GetPixelSize(), 4);
        for (int row = 0; row < 4; ++row)
            for (int col = 0; col < 4; ++col) {
                const unsigned char* pixel =
                    image->GetData() + row * image->GetRowBytes() + 4 * col;
                const int expected[] = {col, row, 7, 100 + 10 * row + col};
                EXPECT_TRUE(std::equal(expected, expected + 4, pixel)) << col << " " << row;
            }
    }
}

TEST(OpenImage, RefusesAlphaOfAnotherSizeOrNone)
{
    for (const std::string& alpha : {Png(5, 3, Place), std::string("no picture at all")}) {
        KxRawData data;
        Fill(data, Encrypt(Text(2, Png(4, 3, Place)) + Number(3, 1) + Text(4, alpha), kKey));
        EXPECT_THROW(Earth::OpenImage(data, View(kKey)), DamagedAnswer);
    }
}

TEST(OpenImage, LeavesAnotherKeysBytesAsTheyCame)
{
    const std::string packet = Encrypt(kJpegBegin, std::string(24, 'k'));
    KxRawData data;
    Fill(data, packet);
    EXPECT_FALSE(Earth::OpenImage(data, View(kKey)));
    EXPECT_EQ(TextOf(data), packet);
}

TEST(ReadWrappedImage, ReadsThePublishedSample)
{
    const std::string sample = FromHex(kSampleWrappedImage);
    const Earth::WrappedImage wrapped = Earth::ReadWrappedImage(View(sample));
    EXPECT_EQ(
        ToHex({reinterpret_cast<const char*>(wrapped.m_image.data()), wrapped.m_image.size()}),
        "ffd8ffe0");
    EXPECT_EQ(
        ToHex({reinterpret_cast<const char*>(wrapped.m_alpha.data()), wrapped.m_alpha.size()}),
        "89504e47");
}

TEST(ReadWrappedImage, RefusesOtherFormsOfImages)
{
    EXPECT_THROW(Earth::ReadWrappedImage(View(Number(1, 1) + Text(2, "jP  "))), DamagedAnswer);
    EXPECT_THROW(Earth::ReadWrappedImage(View("")), DamagedAnswer);
}

TEST(CutPart, EnlargesThePartByNearestPixel)
{
    for (int levels = 0; levels <= 3; ++levels)
        for (const auto& [row, col] :
             {std::pair{0, 0}, {0, (1 << levels) - 1}, {(1 << levels) / 2, 0}}) {
            KxRawData data;
            Fill(data, Png(8, 3, Place));
            Earth::CutPart(data, levels, row, col);
            const auto image = Decode(data);
            ASSERT_NE(image, nullptr);
            ASSERT_EQ(image->GetWidth(), 8);
            const int side = 8 >> levels;
            for (int y = 0; y < 8; ++y)
                for (int x = 0; x < 8; ++x) {
                    const unsigned char* pixel =
                        image->GetData() + y * image->GetRowBytes() + 3 * x;
                    EXPECT_EQ(pixel[0], col * side + x / (8 / side));
                    EXPECT_EQ(pixel[1], row * side + y / (8 / side));
                }
        }
}

TEST(CutPart, TakesOnePixelWhereLessWouldBeLeft)
{
    KxRawData data;
    Fill(data, Png(8, 3, Place));
    Earth::CutPart(data, 30, 0, (1 << 30) - 1);
    const auto image = Decode(data);
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(image->GetData()[0], 7);
    EXPECT_EQ(image->GetData()[1], 0);
}

TEST(CutPart, RefusesPicturesThatAreNotWhole)
{
    const std::string whole = Png(64, 3, Place);
    KxRawData data;
    Fill(data, whole.substr(0, whole.size() - 20));
    EXPECT_THROW(Earth::CutPart(data, 1, 0, 0), DamagedAnswer);
    KxRawData none;
    Fill(none, kJpegBegin);
    EXPECT_THROW(Earth::CutPart(none, 1, 0, 0), DamagedAnswer);
}

} // namespace
} // namespace KxC::EarthTest
