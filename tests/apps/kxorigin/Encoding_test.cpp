// SPDX-License-Identifier: MIT
#include "Encoding.h"

#include <KxImageData.h>
#include <KxImgUtility.h>
#include <gtest/gtest.h>
#include <zlib.h>

#include <memory>

namespace KxOrigin {
namespace {

Pixels Corners()
{
    Pixels pixels(4, 3);
    pixels.At(0, 0) = {255, 0, 0};
    pixels.At(3, 0) = {0, 255, 0};
    pixels.At(0, 2) = {0, 0, 255};
    return pixels;
}

std::unique_ptr<KxC::KxImageData> Decode(const Bytes& bytes)
{
    return std::unique_ptr<KxC::KxImageData>(KxC::KxImgUtility::LoadImageData(
        bytes.data(), static_cast<unsigned int>(bytes.size()), "", 0, 0));
}

/// Inflates with zlib, which is not what packed it.
Bytes Gunzip(const Bytes& stream)
{
    z_stream zlib{};
    EXPECT_EQ(inflateInit2(&zlib, 16 + MAX_WBITS), Z_OK);
    Bytes content(stream.size() * 2000);
    Bytes input(stream);
    zlib.next_in = input.data();
    zlib.avail_in = static_cast<uInt>(input.size());
    zlib.next_out = content.data();
    zlib.avail_out = static_cast<uInt>(content.size());
    EXPECT_EQ(inflate(&zlib, Z_FINISH), Z_STREAM_END);
    content.resize(zlib.total_out);
    inflateEnd(&zlib);
    return content;
}

TEST(Encoding, KeepsNorthUp)
{
    const auto image = Decode(Encode(Corners(), Format::Png));
    ASSERT_TRUE(image);
    // The decoder's row 0 is the south edge.
    const unsigned char* south = image->GetData();
    const unsigned char* north = image->GetData() + 2 * image->GetRowBytes();
    EXPECT_EQ(north[0], 255);
    EXPECT_EQ(north[3 * image->GetPixelSize() + 1], 255);
    EXPECT_EQ(south[2], 255);
}

TEST(Encoding, EachFormatIsWhatItSays)
{
    const auto tell = [](Format format) {
        const Bytes bytes = Encode(Corners(), format);
        const auto size = static_cast<unsigned int>(bytes.size());
        return std::string(KxC::KxImgUtility::TellImgExt(bytes.data(), size).Cstr());
    };
    EXPECT_EQ(tell(Format::Png), ".png");
    EXPECT_EQ(tell(Format::Jpeg), ".jpeg");
    EXPECT_EQ(tell(Format::WebP), ".webp");
    EXPECT_EQ(ContentTypeOf(Format::Png), "image/png");
    EXPECT_EQ(ContentTypeOf(Format::Jpeg), "image/jpeg");
    EXPECT_EQ(ContentTypeOf(Format::WebP), "image/webp");
}

TEST(Encoding, PackedContentComesBack)
{
    const Bytes content = Encode(Corners(), Format::Png);
    EXPECT_EQ(Gunzip(GZip(content, 6)), content);
    EXPECT_EQ(Gunzip(GZip(content, 0)), content);
    EXPECT_GT(GZip(content, 0).size(), content.size());
}

TEST(Encoding, AStreamWithinHalfNeverInflatesToMoreThanTwiceItsLength)
{
    const Bytes zeros(100000);
    const Bytes stream = GZipWithinHalf(zeros);
    EXPECT_GE(stream.size() * 2, zeros.size());
    EXPECT_EQ(Gunzip(stream), zeros);
}

TEST(Encoding, APaddedPngIsTheSamePictureAndPacksBelowHalf)
{
    const Bytes padded = PadPng(Encode(Corners(), Format::Png));
    const auto image = Decode(padded);
    ASSERT_TRUE(image);
    EXPECT_EQ(image->GetWidth(), 4);
    EXPECT_EQ(image->GetData()[2], 255);
    EXPECT_LT(GZip(padded, 6).size() * 2, padded.size());
}

} // namespace
} // namespace KxOrigin
