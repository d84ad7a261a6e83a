// SPDX-License-Identifier: MIT
#include "AddressTiles.h"
#include "BlockCopy.h"
#include "TileGrid.h"

#include <climits>

namespace KxC {
namespace {

using Testing::AddressPixel;
using Testing::kNoPixel;
using Testing::Pixel;
using Testing::PixelAt;

class FetchWMTile5 : public Testing::OutputTileTest
{
protected:
    unsigned char Get(int x, int y, int z)
    {
        return KxTileFetcher::FetchWMTile5(NewOut(), &m_source, x, y, z, m_source.m_nTileSize, 77);
    }

    /// A tile in Beijing, level 12: row from the north, and from the south.
    static constexpr int kX = 3372;
    static constexpr int kY = 1552;
    static constexpr int kSouthY = 4095 - kY;

    void ServeBeijing(int pixelSize = 4)
    {
        for (const int row : {kSouthY, kSouthY + 1})
            for (const int col : {kX, kX + 1})
                Serve({12, row, col}, 256, pixelSize);
    }
    /// The corner of that tile in the source's grid.
    GridPosition Corner() const
    {
        const Extent extent = ExtentOf({kX, kY, 12});
        return SourceGrid{m_source.m_nTileScheme, m_source.m_nDatum, 12}(extent.m_minX,
                                                                         extent.m_minY);
    }
};

TEST_F(FetchWMTile5, JoinsFourTilesOfAShiftedSource)
{
    for (const int datum : {1, 2}) {
        m_gWMTileDataCacheManager.Clear();
        m_service.m_sent.clear();
        m_source.m_nDatum = datum;
        ServeBeijing();
        ASSERT_EQ(Get(kX, kY, 12), 1);
        EXPECT_EQ(m_service.m_sent.size(), 4U);
        EXPECT_EQ(OutExt(), ".png");
        const auto image = Decoded();
        ASSERT_NE(image, nullptr);
        // The shift moves the corner into the tile: by whole pixels of 255 steps.
        const GridPosition corner = Corner();
        const int startColumn = static_cast<int>((corner.m_col - kX) * 255);
        const int startRow = static_cast<int>((corner.m_row - kSouthY) * 255);
        ASSERT_GT(startColumn, 0);
        for (int row = 0; row < 256; ++row)
            for (int column = 0; column < 256; ++column) {
                const int r = startRow + row;
                const int c = startColumn + column;
                ASSERT_EQ(PixelAt(*image, row, column),
                          AddressPixel({12, kSouthY + r / 256, kX + c / 256}, r % 256, c % 256))
                    << row << " " << column;
            }
    }
}

TEST_F(FetchWMTile5, CopiesOneTileWholeFromATileBoundary)
{
    m_source.m_nDatum = 0; // called directly: the corner of (1, 0) is (0, 0), exactly on a border
    Serve({1, 1, 1});
    ASSERT_EQ(Get(1, 0, 1), 1);
    EXPECT_EQ(Asked(), std::vector<std::string>{"http://s/1/1/1"});
    const auto image = Decoded();
    ASSERT_NE(image, nullptr);
    for (int row = 0; row < 256; ++row)
        for (int column = 0; column < 256; ++column)
            ASSERT_EQ(PixelAt(*image, row, column), AddressPixel({1, 1, 1}, row, column));
}

TEST_F(FetchWMTile5, StopsAtTheGridsLastColumn)
{
    // BD-09 moves everything some hundred metres north-east, everywhere.
    m_source.m_nDatum = 2;
    const int last = (1 << 14) - 1;
    const int row = 1 << 13;
    Serve({14, row, last});
    Serve({14, row + 1, last});
    ASSERT_EQ(Get(last, row - 1, 14), 1);
    for (const std::string& url : Asked())
        EXPECT_NE(url.find("/" + std::to_string(last) + "/"), std::string::npos) << url;
    const auto image = Decoded();
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(PixelAt(*image, 0, 255), kNoPixel) << "nothing east of the grid";
}

TEST_F(FetchWMTile5, EncodesByAlphaAndFormat)
{
    m_source.m_nDatum = 1;
    const struct
    {
        int pixelSize;
        const char* format;
        const char* ext;
    } cases[] = {{4, "png", ".png"}, {4, "", ".png"}, {4, "jpg", ".jpeg"}, {3, "png", ".jpeg"}};
    for (const auto& each : cases) {
        m_gWMTileDataCacheManager.Clear();
        m_source.m_strImageFormat = each.format;
        ServeBeijing(each.pixelSize);
        ASSERT_EQ(Get(kX, kY, 12), 1);
        EXPECT_EQ(OutExt(), each.ext);
        EXPECT_EQ(Decoded()->GetPixelSize(), std::string(each.ext) == ".png" ? 4 : 3);
    }
}

TEST_F(FetchWMTile5, MixesPicturesWithAndWithoutAlpha)
{
    m_source.m_nDatum = 1;
    ServeBeijing();
    Serve({12, kSouthY, kX}, 256, 3);
    ASSERT_EQ(Get(kX, kY, 12), 1);
    const auto image = Decoded();
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(PixelAt(*image, 0, 0)[3], 255);
    EXPECT_EQ(PixelAt(*image, 0, 0)[2], AddressPixel({12, kSouthY, kX}, 0, 0)[2]);
}

TEST_F(FetchWMTile5, HasNothingToDrawWithoutAnyPicture)
{
    m_source.m_nDatum = 1;
    for (const int row : {kSouthY, kSouthY + 1})
        for (const int col : {kX, kX + 1})
            m_service.Answer(Url({12, row, col}), NetError_NoData);
    for (const bool memory : {true, false}) {
        KxTileFetcher::m_sbMemCacheUsed = memory ? 1 : 0;
        EXPECT_EQ(Get(kX, kY, 12), 1);
        EXPECT_EQ(Out(), nullptr);
    }
}

TEST_F(FetchWMTile5, LeavesTheAreaOfAMissingTileEmpty)
{
    m_source.m_nDatum = 1;
    ServeBeijing();
    m_service.Answer(Url({12, kSouthY + 1, kX}), NetError_NoData);
    ASSERT_EQ(Get(kX, kY, 12), 1);
    const auto image = Decoded();
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(PixelAt(*image, 255, 0), kNoPixel);
    EXPECT_NE(PixelAt(*image, 255, 255), kNoPixel);
}

TEST_F(FetchWMTile5, FailsWhenTheThirdTileFails)
{
    m_source.m_nDatum = 1;
    for (const bool memory : {true, false}) {
        KxTileFetcher::m_sbMemCacheUsed = memory ? 1 : 0;
        m_gWMTileDataCacheManager.Clear();
        m_service.m_sent.clear();
        ServeBeijing();
        m_service.Answer(Url({12, kSouthY + 1, kX}), NetError_Failure);
        EXPECT_EQ(Get(kX, kY, 12), 0);
        EXPECT_EQ(Out(), nullptr);
        EXPECT_EQ(m_service.m_sent.size(), 3U);
    }
}

TEST_F(FetchWMTile5, TakesSmallerAndLargerPicturesThanTheSourceSays)
{
    m_source.m_nDatum = 1;
    for (const int size : {100, 300}) {
        m_gWMTileDataCacheManager.Clear();
        for (const int row : {kSouthY, kSouthY + 1})
            for (const int col : {kX, kX + 1})
                Serve({12, row, col}, size);
        ASSERT_EQ(Get(kX, kY, 12), 1);
        const auto image = Decoded();
        ASSERT_NE(image, nullptr);
        EXPECT_EQ(image->GetWidth(), 256);
        const GridPosition corner = Corner();
        const int startColumn = static_cast<int>((corner.m_col - kX) * 255);
        const int startRow = static_cast<int>((corner.m_row - kSouthY) * 255);
        EXPECT_EQ(PixelAt(*image, 0, 0), AddressPixel({12, kSouthY, kX}, startRow, startColumn));
        const Pixel far = size == 100 ? kNoPixel : AddressPixel({12, kSouthY, kX}, startRow, 255);
        EXPECT_EQ(PixelAt(*image, 0, 255 - startColumn), far);
    }
}

TEST_F(FetchWMTile5, ClipsACornerSouthOfTheGrid)
{
    // The south row of the geographic square's three-quarter grid has no Mercator tile; a corner
    // west of the grid by a part of a tile has one.
    m_source.m_nDatum = 0;
    m_source.m_nTileScheme = 11;
    Serve({0, 0, 0});
    ASSERT_EQ(Get(0, 0, 0), 1);
    const auto image = Decoded();
    ASSERT_NE(image, nullptr);
    // Row 0 of the output is at latitude -85.05, 94.95 degrees above the square's south edge.
    EXPECT_EQ(PixelAt(*image, 0, 0),
              AddressPixel({0, 0, 0}, static_cast<int>(255 * 94.9488 / 360), 0));
    EXPECT_EQ(PixelAt(*image, 255, 0), kNoPixel) << "the square ends there";
}

TEST_F(FetchWMTile5, AsksForNothingOutsideTheGrid)
{
    m_source.m_nDatum = 1;
    const int outside[][2] = {{-2, 3},
                              {8, 3},
                              {3, -9},
                              {3, 9},
                              {INT_MAX, 0},
                              {INT_MIN, 0},
                              {0, INT_MAX},
                              {INT_MAX, INT_MAX},
                              {INT_MIN, INT_MAX}};
    for (const auto& [x, y] : outside) {
        EXPECT_EQ(Get(x, y, 3), 1) << x << " " << y;
        EXPECT_EQ(Out(), nullptr);
    }
}

TEST_F(FetchWMTile5, RefusesLevelsAndSizesThatNoTileHas)
{
    auto* const something = reinterpret_cast<KxRawData*>(this);
    m_source.m_nDatum = 1;
    const auto expectRefused = [&](int z, int size) {
        KxRawData* out = something;
        EXPECT_EQ(KxTileFetcher::FetchWMTile5(out, &m_source, 0, 0, z, size, 0), 0)
            << z << " " << size;
        EXPECT_EQ(out, nullptr);
    };
    for (const int z : {INT_MIN, -1, 31, INT_MAX})
        expectRefused(z, 256);
    for (const int size : {INT_MIN, 0, 8193, INT_MAX})
        expectRefused(3, size);
    m_source.m_nTileSize = 0;
    expectRefused(3, 256);
    m_source.m_nTileSize = INT_MAX;
    expectRefused(3, 256);
    EXPECT_EQ(Requests(), 0U);
}

TEST_F(FetchWMTile5, LeavesTheOutputAloneForNoSource)
{
    auto* const before = reinterpret_cast<KxRawData*>(this);
    KxRawData* out = before;
    EXPECT_EQ(KxTileFetcher::FetchWMTile5(out, nullptr, 0, 0, 0, 256, 0), 0);
    EXPECT_EQ(out, before);
}

struct BlockCase
{
    BlockAxis m_axis;
    int m_source;
    int m_destination;
    BlockAxis m_expected;
};

TEST(BlockAxis, IsClippedToBothPictures)
{
    const BlockCase cases[] = {{{10, 0, 246}, 256, 256, {10, 0, 246}},
                               {{-10, 0, 266}, 256, 256, {0, 10, 246}},
                               {{0, -5, 20}, 256, 256, {5, 0, 15}},
                               {{10, 0, 246}, 100, 256, {10, 0, 90}},
                               {{0, 200, 256}, 256, 256, {0, 200, 56}}};
    for (const BlockCase& each : cases) {
        BlockAxis axis = each.m_axis;
        axis.ClipTo(each.m_source, each.m_destination);
        EXPECT_EQ(axis.m_from, each.m_expected.m_from);
        EXPECT_EQ(axis.m_to, each.m_expected.m_to);
        EXPECT_EQ(axis.m_count, each.m_expected.m_count);
    }
    BlockAxis nothing{300, 0, 10};
    nothing.ClipTo(256, 256);
    EXPECT_LT(nothing.m_count, 1);
}

} // namespace
} // namespace KxC
