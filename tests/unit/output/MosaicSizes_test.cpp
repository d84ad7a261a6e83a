// SPDX-License-Identifier: MIT
// How large a mosaic can be, and where its pixels lie when their number is given.
#include "MosaicPicture.h"
#include "MosaicRows.h"
#include "MosaicTiles.h"
#include "Operation.h"
#include "RasterSource.h"
#include "TransformGrid.h"
#include "unit/output/FetchImageTest.h"

#include <malloc.h>

#include <algorithm>
#include <cmath>

namespace KxC {
namespace {

class FetchImageSizes : public FetchImage
{
protected:
    bool LogSaysTooLarge() const
    {
        return Log().find(Gbk("输出的文件大太大，内存分配失败!")) != std::string::npos;
    }
    void HaveNoPictures()
    {
        m_rasters.m_image = [](int, int, int) { return std::unique_ptr<KxImageData>(); };
    }
};

TEST_F(FetchImageSizes, AreRefusedAbove2GiBWhenATileHasAPicture)
{
    // 40075 x 20037 pixels of three bytes.
    EXPECT_EQ(Fetch({0, 90 * kDegree, 180 * kDegree, 0}, 500), 0);
    EXPECT_TRUE(LogSaysTooLarge());
    EXPECT_EQ(TilesRead(), 1U) << "more is not needed to know";
    EXPECT_FALSE(WroteFile());
}

TEST_F(FetchImageSizes, AreRefusedWhereTheirPixelsCannotBeCounted)
{
    m_rasters.m_maxLevel = 28;
    EXPECT_EQ(Fetch({0, 90 * kDegree, 180 * kDegree, 0}, 0.001), 0) << "2e10 x 1e10";
    EXPECT_TRUE(LogSaysTooLarge());
    EXPECT_EQ(TilesRead(), 1U);
}

TEST_F(FetchImageSizes, DoNotMatterWhereNoTileHasAPicture)
{
    HaveNoPictures();
    m_rasters.m_bounds = {10, 40, 50, 10};
    EXPECT_EQ(Fetch({0, 90 * kDegree, 180 * kDegree, 0}, 500), 1);
    // Level 9's tiles are 0.703 degrees: 57.9 x 43.7, of which those at the edges are asked, too.
    EXPECT_GE(TilesRead(), 57U * 43U);
    EXPECT_LE(TilesRead(), 59U * 45U);
    EXPECT_EQ(Log(), "");
    EXPECT_FALSE(WroteFile());
}

TEST_F(FetchImageSizes, AreRefusedWhereThousandsOfTilesHaveNoPicture)
{
    HaveNoPictures();
    // 256 x 128 tiles of level 9.
    EXPECT_EQ(Fetch({0, 90 * kDegree, 180 * kDegree, 0}, 500), 0);
    EXPECT_GE(TilesRead(), 1000U);
    EXPECT_LE(TilesRead(), 10000U);
    EXPECT_TRUE(LogSaysTooLarge());
    EXPECT_FALSE(WroteFile());
}

TEST_F(FetchImageSizes, DoNotMatterWhereTheRasterIsSmallAndHasNoPicture)
{
    // 2^29 tiles of level 16 and 2^53 of level 28 lie there, of which the raster has few.
    HaveNoPictures();
    m_rasters.m_maxLevel = 28;
    for (const double resolution : {2.5, 0.001}) {
        m_rasters.m_bounds = {10, 10.0001, 10.0001, 10};
        m_raster = FreshName("raster", ".tif");
        m_rasters.m_calls.clear();
        EXPECT_EQ(Fetch({0, 90 * kDegree, 180 * kDegree, 0}, resolution), 1);
        EXPECT_GE(TilesRead(), 1U);
        EXPECT_LE(TilesRead(), 77U * 77U) << "tiles of level 28 are 1.34e-6 degrees";
    }
    EXPECT_EQ(Log(), "");
}

TEST_F(FetchImageSizes, DoNotMakeThemHoldMoreTilesThanTheirBudget)
{
    // One row of pixels under which 2000 tiles of 192 KiB lie, 375 MiB in all.
    std::size_t most = 0;
    m_rasters.m_image = [&most](int level, int row, int col) {
        const struct mallinfo2 heap = mallinfo2();
        most = std::max(most, heap.uordblks + heap.hblkhd);
        return Testing::AddressImage({level, row, col}, 256, 3);
    };
    m_gWMTileDataCacheManager.SetBudget(0);
    const struct mallinfo2 before = mallinfo2();
    const double pixel = 360 * kDegree / 256 / 4096; // of level 12
    const double width = pixel * 256 * 2000;
    ASSERT_EQ(
        Fetch({100.5 * pixel, 10.7 * pixel, 100.5 * pixel + width, 9.2 * pixel}, pixel * 1.01), 1);
    EXPECT_GE(TilesRead(), 2000U);
    EXPECT_LE(TilesRead(), 2002U) << "none of which is read again";
    EXPECT_LT(most, before.uordblks + before.hblkhd + (std::size_t{256 + 16} << 20));
}

TEST_F(FetchImageSizes, LetTilesGoThatWereNotNeededForLongest)
{
    const Operation operation;
    const RasterSource raster(*m_gRasterAccessorManager.OpenDataAccessor(m_raster.c_str()),
                              m_raster.c_str());
    for (const std::size_t cache : {std::size_t{0}, std::size_t{1} << 30}) {
        m_gWMTileDataCacheManager.SetBudget(cache);
        MosaicTiles tiles(raster, {8, 0, 8, 99}, 7, std::size_t{10} * 256 * 256 * 3);
        for (int round = 0; round < 2; ++round)
            for (int col = 0; col < 100; ++col) {
                const KxImageData* const image = tiles.ImageAt(8, col);
                ASSERT_NE(image, nullptr);
                EXPECT_EQ(Testing::PixelAt(*image, 3, 5), Testing::AddressPixel({7, 8, col}, 3, 5));
                const KxImageData* const first = tiles.ImageAt(8, 0);
                ASSERT_NE(first, nullptr);
                EXPECT_EQ(Testing::PixelAt(*first, 3, 5), Testing::AddressPixel({7, 8, 0}, 3, 5));
            }
        // The first one was needed all the time; others of the second round are read again, unless
        // the memory cache has them.
        EXPECT_EQ(TilesRead(), cache == 0 ? 1U + 99U + 99U : 199U + 100U);
    }
}

TEST(MosaicPicture, HoldsUpTo2GiBInWholeWords)
{
    // Rows of 26754 pixels are 80264 bytes, and 26754 of them 2147383056, below 2^31.
    EXPECT_TRUE(MosaicPicture::IsPossible(26754, 26754));
    // 80268 x 26755 = 2147570340.
    EXPECT_FALSE(MosaicPicture::IsPossible(26755, 26755));
    EXPECT_TRUE(MosaicPicture::IsPossible(1, 536870911));
    EXPECT_FALSE(MosaicPicture::IsPossible(1, 536870912));
    EXPECT_FALSE(MosaicPicture::IsPossible(715827883, 1));
    EXPECT_FALSE(MosaicPicture::IsPossible(0, 1));
    EXPECT_FALSE(MosaicPicture::IsPossible(1, -1));
}

/// A picture that is as large as can be without alpha.
class LargePicture : public FetchImage
{
protected:
    static constexpr int kSide = 26754;

    /// Its first row, west of the grid, where nothing is.
    void AddRowOffTheGrid()
    {
        const Operation operation;
        const KxCoordSysTrans& transform = *m_gCoordSysTransManager.GetKxCoordSysTrans(
            m_projection.c_str(), ProjectStringType_Proj4);
        const TransformGrid grid(transform, 4);
        const RasterSource raster(*m_gRasterAccessorManager.OpenDataAccessor(m_raster.c_str()),
                                  m_raster.c_str());
        MosaicTiles tiles(raster, {8, 0, 8, 1}, 4);
        MosaicRows rows(grid, PixelPositions::Centres(-201 * kDegree, -200 * kDegree, kSide));
        MosaicPicture picture(kSide, kSide); // whose memory is hardly touched
        picture.AddRow(rows, 5 * kDegree, tiles);
        tiles.EndRow();
        picture.AddRow(rows, 6 * kDegree, tiles);
        picture.End(tiles.NeedsAlpha());
        EXPECT_EQ(picture.Image().GetPixelSize(), 3);
    }
};

TEST_F(LargePicture, StaysWithoutAlphaWhereEveryTileIsThere)
{
    AddRowOffTheGrid();
    EXPECT_EQ(TilesRead(), 2U) << "none of which a pixel lies in";
}

TEST_F(LargePicture, IsTooLargeWhereATileNeedsAlpha)
{
    m_rasters.m_image = [](int level, int row, int col) {
        return col == 0 ? Testing::AddressImage({level, row, col}, 256, 3) : nullptr;
    };
    EXPECT_THROW(AddRowOffTheGrid(), PictureTooLarge);
}

/// Pictures whose pixels are given.
class FetchImageOfPixels : public FetchImage
{
protected:
    unsigned char FetchPixels(const KxRect2d& rect, int width, int height, int level = 4)
    {
        return KxTileFetcher::FetchImageOfPixels(m_file.c_str(),
                                                 m_raster.c_str(),
                                                 rect,
                                                 width,
                                                 height,
                                                 level,
                                                 m_projection.c_str(),
                                                 ProjectStringType_Proj4);
    }
};

TEST_F(FetchImageOfPixels, AreSampledInTheirMiddles)
{
    // Whatever the shape, a degree and a quarter a pixel.
    for (const auto& [width, height] : {std::pair(80, 20), {140, 5}, {6, 60}, {1, 1}, {70, 1}}) {
        const double west = 3.3;
        const double south = -41.7;
        const double step = 1.25;
        ASSERT_EQ(FetchPixels({west * kDegree,
                               (south + height * step) * kDegree,
                               (west + width * step) * kDegree,
                               south * kDegree},
                              width,
                              height),
                  1);
        const auto picture = Picture();
        ASSERT_NE(picture, nullptr);
        ASSERT_EQ(picture->GetWidth(), width);
        ASSERT_EQ(picture->GetHeight(), height);
        for (int row = 0; row < height; ++row)
            for (int column = 0; column < width; ++column) {
                // In pixels of the level, of which a tile's 22.5 degrees have 256.
                const double across = (west + (column + 0.5) * step + 180) / 22.5 * 256;
                const double up = (south + (row + 0.5) * step + 180) / 22.5 * 256;
                const SourceTile tile{
                    4, static_cast<int>(up) / 256, static_cast<int>(across) / 256};
                ASSERT_EQ(Testing::PixelAt(*picture, row, column),
                          Testing::AddressPixel(
                              tile, static_cast<int>(up) % 256, static_cast<int>(across) % 256))
                    << row << ' ' << column << " of " << width << " x " << height;
            }
    }
}

TEST_F(FetchImageOfPixels, NeedNoTilesThatOnlyTouchTheExtent)
{
    // The world, north of which there is a tile of the square without a picture.
    m_rasters.m_image = [](int level, int row, int col) {
        return row == 12 ? nullptr : Testing::AddressImage({level, row, col}, 256, 3);
    };
    ASSERT_EQ(FetchPixels({-180 * kDegree, 90 * kDegree, 180 * kDegree, -90 * kDegree}, 720, 360),
              1);
    EXPECT_EQ(TilesRead(), 16U * 8U);
    const auto picture = Picture();
    ASSERT_NE(picture, nullptr);
    EXPECT_EQ(picture->GetPixelSize(), 3);
}

TEST_F(FetchImageOfPixels, FailAsThoseOfAResolutionDo)
{
    const KxRect2d rect(0, 10 * kDegree, 10 * kDegree, 0);
    EXPECT_EQ(FetchPixels(rect, 0, 10), 0);
    EXPECT_EQ(FetchPixels(rect, 10, -1), 0);
    EXPECT_EQ(FetchPixels({0, 0, 10, 10}, 10, 10), 0);
    EXPECT_NE(Log().find(Gbk("输出的图片范围有问题")), std::string::npos);
    EXPECT_EQ(FetchPixels(rect, 10, 10, 21), 0) << "a level that the raster does not have";
    EXPECT_EQ(FetchPixels(rect, 10, 10, -1), 0);
    EXPECT_FALSE(WroteFile());
    EXPECT_EQ(FetchPixels(rect, 10, 10), 1);
    EXPECT_TRUE(WroteFile());
}

} // namespace
} // namespace KxC
