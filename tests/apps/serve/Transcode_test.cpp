// SPDX-License-Identifier: MIT
#include "serve/Transcode.h"

#include "KxImageData.h"
#include "KxImgUtility.h"

#include <gtest/gtest.h>

#include <array>
#include <memory>

namespace {

using namespace KxTileHost::Serve;
using KxC::KxImageData;
using KxC::KxImgUtility;

constexpr int kSide = 64;

std::unique_ptr<KxC::KxRawData> PngOf(const KxImageData& image)
{
    unsigned char* bytes = nullptr;
    unsigned int size = 0;
    EXPECT_NE(KxImgUtility::SaveImageToMemory(image.GetData(),
                                              image.GetWidth(),
                                              image.GetHeight(),
                                              image.GetPixelSize() * 8,
                                              bytes,
                                              size,
                                              ".png",
                                              0),
              0);
    auto png = std::make_unique<KxC::KxRawData>();
    png->Attach(bytes, size);
    return png;
}

/// A picture of one colour, as a JPEG's middle shows it.
std::array<int, 3> InJpeg(std::array<unsigned char, 4> colour)
{
    KxImageData image(kSide, kSide, KxC::KxPixelFormat_RGBA);
    for (int row = 0; row < kSide; ++row)
        for (int column = 0; column < kSide; ++column)
            image.SetValue(row, column, colour.data(), 4);
    const auto png = PngOf(image);
    const auto jpeg = Transcode(png->GetData(), png->GetSize(), TileFormat::Jpeg);
    EXPECT_EQ(FormatOf(jpeg->GetData(), jpeg->GetSize()), TileFormat::Jpeg);
    const std::unique_ptr<KxImageData> seen(KxImgUtility::LoadImageData(
        jpeg->GetData(), static_cast<unsigned int>(jpeg->GetSize()), "", 1, 1));
    const unsigned char* const pixel =
        seen->GetData() + kSide / 2 * seen->GetRowBytes() + kSide / 2 * seen->GetPixelSize();
    return {pixel[0], pixel[1], pixel[2]};
}

TEST(Transcode, LaysPicturesWithTransparencyOnWhiteForJpeg)
{
    // By colour x alpha + white x (1 - alpha), alpha of 255; JPEG is off by a few.
    const std::array<std::pair<std::array<unsigned char, 4>, std::array<int, 3>>, 4> cases{{
        {{0, 0, 0, 0}, {255, 255, 255}},
        {{0, 0, 0, 51}, {204, 204, 204}},
        {{200, 100, 0, 102}, {233, 193, 153}},
        {{200, 100, 0, 255}, {200, 100, 0}},
    }};
    for (const auto& [colour, expected] : cases) {
        const auto seen = InJpeg(colour);
        for (std::size_t channel = 0; channel < 3; ++channel)
            EXPECT_NEAR(seen[channel], expected[channel], 4) << int{colour[3]};
    }
}

TEST(Transcode, MakesBlankTilesThatAreWhiteInJpegAndClearElsewhere)
{
    for (const TileFormat format : {TileFormat::Jpeg, TileFormat::Png, TileFormat::WebP}) {
        const auto tile = BlankTile(kSide, format);
        const std::unique_ptr<KxImageData> seen(KxImgUtility::LoadImageData(
            tile->GetData(), static_cast<unsigned int>(tile->GetSize()), "", 1, 1));
        const bool isJpeg = format == TileFormat::Jpeg;
        ASSERT_EQ(seen->GetPixelSize(), isJpeg ? 3 : 4);
        EXPECT_EQ(isJpeg ? seen->GetData()[0] : seen->GetData()[3], isJpeg ? 255 : 0);
    }
}

} // namespace
