// SPDX-License-Identifier: MIT
#include "KxImgUtility.h"
#include "TestFiles.h"

#include <gtest/gtest.h>
#include <png.h>

#include <random>

namespace KxC {
namespace {

using namespace ImageTest;

bool Loads(const Bytes& file)
{
    const std::unique_ptr<KxImageData> image(
        KxImgUtility::LoadImageData(file.data(), static_cast<unsigned int>(file.size()), "", 1, 1));
    return image != nullptr;
}

std::vector<Bytes> SmallFiles()
{
    return {PngFile(Graded(24, 16, 4)),
            PngFile(Patches(24, 16, 3, 9)),
            JpegFile(Smooth(24, 16, 3), JpegKind::Colour, 85),
            JpegFile(Smooth(24, 16, 3), JpegKind::Progressive, 85),
            JpegFile(Smooth(24, 16, 4), JpegKind::AdobeCmyk, 85),
            WebpFile(Smooth(24, 16, 3), false),
            WebpFile(Graded(24, 16, 4), true),
            GifFile(Graded(24, 16, 1), {24, 16})};
}

void PutBigEndian(Bytes& file, std::size_t at, std::uint32_t value, int count)
{
    for (int i = 0; i < count; ++i)
        file.at(at + static_cast<std::size_t>(i)) =
            static_cast<unsigned char>(value >> (8 * (count - 1 - i)));
}

/// CRC of PNG, bit by bit from its definition.
std::uint32_t PngCrc(const unsigned char* bytes, std::size_t count)
{
    std::uint32_t crc = 0xFFFFFFFFU;
    for (std::size_t i = 0; i < count; ++i) {
        crc ^= bytes[i];
        for (int bit = 0; bit < 8; ++bit)
            crc = crc >> 1 ^ ((crc & 1U) != 0 ? 0xEDB88320U : 0U);
    }
    return ~crc;
}

Bytes PngOfSize(std::uint32_t width, std::uint32_t height)
{
    Bytes file = PngFile(Graded(24, 16, 3));
    PutBigEndian(file, 16, width, 4);
    PutBigEndian(file, 20, height, 4);
    PutBigEndian(file, 29, PngCrc(file.data() + 12, 17), 4);
    return file;
}

TEST(KxImgUtility, RefusesPngOfHostileSizes)
{
    EXPECT_TRUE(Loads(PngOfSize(24, 16)));
    EXPECT_FALSE(Loads(PngOfSize(0x7FFFFFFF, 0x7FFFFFFF)));
    EXPECT_FALSE(Loads(PngOfSize(0xFFFFFFFF, 1)));
    EXPECT_FALSE(Loads(PngOfSize(16385, 1)));
    EXPECT_FALSE(Loads(PngOfSize(16384, 16384)));
    EXPECT_FALSE(Loads(PngOfSize(0, 16)));
    EXPECT_FALSE(Loads(PngOfSize(24, 0)));
    EXPECT_FALSE(Loads(PngOfSize(8000, 7000))); // within limits, but its bytes cannot hold it
}

TEST(KxImgUtility, RefusesJpegOfHostileSizes)
{
    const Bytes whole = JpegFile(Smooth(24, 16, 3), JpegKind::Colour, 85);
    std::size_t frame = 0;
    while (whole[frame] != 0xFF || whole[frame + 1] != 0xC0)
        ++frame;
    const auto loads = [&](std::uint32_t width, std::uint32_t height) {
        Bytes file = whole;
        PutBigEndian(file, frame + 5, height, 2);
        PutBigEndian(file, frame + 7, width, 2);
        return Loads(file);
    };
    EXPECT_TRUE(loads(24, 16));
    EXPECT_FALSE(loads(65535, 65535));
    EXPECT_FALSE(loads(16385, 1));
    EXPECT_FALSE(loads(16384, 16384));
    EXPECT_FALSE(loads(0, 16));
    EXPECT_FALSE(loads(24, 0));
}

TEST(KxImgUtility, RefusesGifOfHostileSizes)
{
    const Bytes whole = GifFile(Graded(24, 16, 1), {24, 16});
    const auto loads = [&](std::size_t at, unsigned char low, unsigned char high) {
        Bytes file = whole;
        file.at(at) = low;
        file.at(at + 1) = high;
        return Loads(file);
    };
    constexpr std::size_t kScreenWidth = 6;
    constexpr std::size_t kFrameWidth = 13 + 768 + 5;
    EXPECT_TRUE(loads(kScreenWidth, 24, 0));
    EXPECT_FALSE(loads(kScreenWidth, 0xFF, 0xFF));
    EXPECT_FALSE(loads(kScreenWidth, 0, 0));
    EXPECT_TRUE(loads(kFrameWidth, 24, 0));
    EXPECT_FALSE(loads(kFrameWidth, 0xFF, 0xFF));
    EXPECT_FALSE(loads(kFrameWidth, 0, 0));
}

TEST(KxImgUtility, RefusesAnimatedWebp)
{
    const Bytes still = WebpFile(Smooth(24, 16, 4), false);
    Bytes file = still;
    ASSERT_EQ('X', file.at(15)); // extended header: its flags follow
    file.at(20) |= 0x02;
    EXPECT_TRUE(Loads(still));
    EXPECT_FALSE(Loads(file));
}

TEST(KxImgUtility, DecodesOfTruncatedFilesFailCleanly)
{
    for (const Bytes& file : SmallFiles())
        for (std::size_t size = 0; size < file.size() / 2; ++size)
            ASSERT_FALSE(
                Loads(Bytes(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(size))));
}

TEST(KxImgUtility, DamagedBytesNeverCrashAndNeverPrint)
{
    constexpr unsigned int kSeed = 20240611;
    RecordProperty("seed", static_cast<int>(kSeed));
    SCOPED_TRACE("seed " + std::to_string(kSeed));
    std::mt19937 random(kSeed);
    testing::internal::CaptureStderr();
    for (const Bytes& whole : SmallFiles())
        for (int round = 0; round < 300; ++round) {
            Bytes file = whole;
            for (unsigned int i = 0; i <= random() % 6; ++i)
                file[random() % file.size()] = static_cast<unsigned char>(random());
            Loads(file);
            KxImgUtility::IsCompletedImage(file.data(), static_cast<unsigned int>(file.size()), "");
        }
    EXPECT_EQ("", testing::internal::GetCapturedStderr());
}

TEST(KxImgUtility, RandomBytesBehindASignatureNeverDecodeNorCrash)
{
    constexpr unsigned int kSeed = 77001;
    SCOPED_TRACE("seed " + std::to_string(kSeed));
    std::mt19937 random(kSeed);
    for (const Bytes& whole : SmallFiles())
        for (int round = 0; round < 200; ++round) {
            Bytes file(whole.begin(), whole.begin() + 12);
            file.resize(12 + random() % 400);
            for (std::size_t i = 12; i < file.size(); ++i)
                file[i] = static_cast<unsigned char>(random());
            ASSERT_FALSE(Loads(file));
        }
}

} // namespace
} // namespace KxC
