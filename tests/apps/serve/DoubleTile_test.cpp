// SPDX-License-Identifier: MIT
#include "serve/DoubleTile.h"

#include "KxImageData.h"
#include "KxImgUtility.h"
#include "serve/Transcode.h"

#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <string>

namespace {

using namespace KxTileHost::Serve;
using KxC::KxImageData;
using KxC::KxImgUtility;
using KxC::KxRawData;

using Colour = std::array<unsigned char, 4>;
constexpr Colour kRed{255, 0, 0, 255};
constexpr Colour kGreen{0, 255, 0, 255};
constexpr Colour kBlue{0, 0, 255, 255};
constexpr Colour kGrey{128, 128, 128, 255};
constexpr Colour kClear{0, 0, 0, 0};
constexpr int kEdge = 2 * kTileSize;

/// Pixels by column and row, the row counted from the north.
template <typename ColourAt>
std::unique_ptr<KxRawData> Picture(int edge, const ColourAt& colourAt, TileFormat format)
{
    KxImageData image(edge, edge, KxC::KxPixelFormat_RGBA);
    for (int row = 0; row < edge; ++row)
        for (int column = 0; column < edge; ++column)
            image.SetValue(edge - 1 - row, column, colourAt(column, row).data(), 4);
    return EncodePicture(image, format);
}

std::unique_ptr<KxRawData> Plain(Colour colour, TileFormat format = TileFormat::Png)
{
    return Picture(
        kTileSize, [&](int, int) { return colour; }, format);
}

/// Red in the north-west, green in the north-east, blue in the south-west, grey in the south-east.
std::unique_ptr<KxRawData> FourColours(int edge)
{
    return Picture(
        edge,
        [&](int column, int row) {
            const bool east = column >= edge / 2;
            return row < edge / 2 ? (east ? kGreen : kRed) : (east ? kGrey : kBlue);
        },
        TileFormat::Png);
}

class Decoded
{
public:
    explicit Decoded(const KxRawData& bytes)
        : m_image(KxImgUtility::LoadImageData(bytes.GetData(), bytes.GetSize(), "", 1, 1))
    {
    }

    int Width() const { return m_image->GetWidth(); }
    int Height() const { return m_image->GetHeight(); }

    /// @param row  from the north
    Colour At(int column, int row) const
    {
        const int size = m_image->GetPixelSize();
        const unsigned char* const pixel =
            m_image->GetData() +
            static_cast<std::ptrdiff_t>(m_image->GetHeight() - 1 - row) * m_image->GetRowBytes() +
            static_cast<std::ptrdiff_t>(column) * size;
        return {pixel[0], pixel[1], pixel[2], size == 4 ? pixel[3] : kRed[3]};
    }

private:
    std::unique_ptr<KxImageData> m_image;
};

DoubleTileParts FourQuarters()
{
    DoubleTileParts parts;
    parts.m_quarters = {Plain(kRed), Plain(kGreen), Plain(kBlue), Plain(kGrey)};
    return parts;
}

void ExpectFourColours(const KxRawData& bytes)
{
    const Decoded seen(bytes);
    ASSERT_EQ(seen.Width(), kEdge);
    ASSERT_EQ(seen.Height(), kEdge);
    for (const int near : {0, 100, 255})
        for (const int far : {256, 400, 511}) {
            EXPECT_EQ(seen.At(near, near), kRed);
            EXPECT_EQ(seen.At(far, near), kGreen);
            EXPECT_EQ(seen.At(near, far), kBlue);
            EXPECT_EQ(seen.At(far, far), kGrey);
        }
}

TEST(DoubleTile, PutsTheFourOfTheNextLevelTogether)
{
    ExpectFourColours(*MakeDoubleTile(FourQuarters(), TileFormat::Natural));
}

TEST(DoubleTile, DrawsTheTileItselfLargerOnTheLastLevel)
{
    DoubleTileParts parts;
    parts.m_own = FourColours(kTileSize);
    ExpectFourColours(*MakeDoubleTile(std::move(parts), TileFormat::Natural));
}

TEST(DoubleTile, DrawsEachPixelOfTheTileAsFour)
{
    DoubleTileParts parts;
    const auto colourAt = [](int column, int row) {
        return Colour{static_cast<unsigned char>(column), static_cast<unsigned char>(row), 7, 255};
    };
    parts.m_own = Picture(kTileSize, colourAt, TileFormat::Png);
    const Decoded seen(*MakeDoubleTile(std::move(parts), TileFormat::Natural));
    for (int row = 0; row < kEdge; row += 3)
        for (int column = 0; column < kEdge; ++column)
            ASSERT_EQ(seen.At(column, row), colourAt(column / 2, row / 2));
}

TEST(DoubleTile, TakesFromTheTileItselfWhatTheNextLevelLeavesOut)
{
    DoubleTileParts parts;
    parts.m_own = FourColours(kTileSize);
    parts.m_quarters[3] = Plain(kRed);
    const Decoded seen(*MakeDoubleTile(std::move(parts), TileFormat::Natural));
    EXPECT_EQ(seen.At(0, 0), kRed);
    EXPECT_EQ(seen.At(511, 0), kGreen);
    EXPECT_EQ(seen.At(0, 511), kBlue);
    EXPECT_EQ(seen.At(511, 511), kRed);
}

TEST(DoubleTile, LeavesOutWhatThereIsNothingOf)
{
    DoubleTileParts parts = FourQuarters();
    parts.m_quarters[1] = nullptr;
    parts.m_quarters[2] = std::make_unique<KxRawData>(); // no bytes
    const auto bytes = MakeDoubleTile(std::move(parts), TileFormat::Natural);
    EXPECT_EQ(FormatOf(bytes->GetData(), bytes->GetSize()), TileFormat::Png);
    const Decoded seen(*bytes);
    EXPECT_EQ(seen.At(0, 0), kRed);
    EXPECT_EQ(seen.At(511, 0), kClear);
    EXPECT_EQ(seen.At(0, 511), kClear);
    EXPECT_EQ(seen.At(511, 511), kGrey);
}

TEST(DoubleTile, HandsOutWhatHasTheSizeAlready)
{
    DoubleTileParts parts;
    parts.m_own = FourColours(kEdge);
    parts.m_quarters[0] = Plain(kGrey);
    const KxRawData* const stored = parts.m_own.get();
    EXPECT_EQ(MakeDoubleTile(std::move(parts), TileFormat::Natural).get(), stored);
}

TEST(DoubleTile, HasTheFormatOfItsPartsWhereThatHasRoom)
{
    const auto formatOf = [](TileFormat first, TileFormat others, TileFormat wanted, bool whole) {
        DoubleTileParts parts;
        for (std::size_t i = 0; i < (whole ? 4U : 3U); ++i)
            parts.m_quarters[i] = Plain(kRed, i == 0 ? first : others);
        const auto bytes = MakeDoubleTile(std::move(parts), wanted);
        return FormatOf(bytes->GetData(), bytes->GetSize());
    };
    using enum TileFormat;
    EXPECT_EQ(formatOf(Jpeg, Jpeg, Natural, true), Jpeg);
    EXPECT_EQ(formatOf(Jpeg, Jpeg, Natural, false), Png);
    EXPECT_EQ(formatOf(WebP, WebP, Natural, false), WebP);
    EXPECT_EQ(formatOf(Jpeg, Png, Natural, true), Png);
    EXPECT_EQ(formatOf(Png, Png, WebP, true), WebP);
    EXPECT_EQ(formatOf(Png, Png, Jpeg, false), Jpeg);
}

TEST(DoubleTile, IsNotMadeOfWhatDoesNotDecode)
{
    for (const bool own : {true, false}) {
        DoubleTileParts parts = FourQuarters();
        (own ? parts.m_own : parts.m_quarters[2]) = Plain(kRed);
        KxRawData& torn = own ? *parts.m_own : *parts.m_quarters[2];
        torn.GetData()[20] ^= 0xffU; // of the header, which has a checksum
        EXPECT_EQ(MakeDoubleTile(std::move(parts), TileFormat::Natural), nullptr);
    }
    EXPECT_EQ(MakeDoubleTile({}, TileFormat::Natural), nullptr);
}

} // namespace
