// SPDX-License-Identifier: MIT
#include "unit/output/FetchImageTest.h"

#include <gmock/gmock.h>
#include <malloc.h>

#include <atomic>
#include <cmath>
#include <filesystem>
#include <set>

namespace KxC {
namespace {

namespace fs = std::filesystem;

TEST_F(FetchImage, LogsAnExtentWithoutPixels)
{
    for (const KxRect2d& rect : {KxRect2d(0, 1000000, 9999, 0),
                                 KxRect2d(0, 9999, 1000000, 0),
                                 KxRect2d(0, 1000000, -1000000, 0),
                                 KxRect2d(0, 0, 1000000, 1000000)}) {
        fs::remove(m_folder.Path() / "kxtile.log");
        EXPECT_EQ(Fetch(rect, 10000), 0);
        EXPECT_NE(Log().find(Gbk("输出的图片范围有问题")), std::string::npos);
    }
    EXPECT_FALSE(WroteFile());
}

TEST_F(FetchImage, LogsARasterThatCannotBeOpened)
{
    m_rasters.m_opens = false;
    EXPECT_EQ(Fetch({0, 1000000, 1000000, 0}, 10000), 0);
    EXPECT_NE(Log().find(Gbk("打开影像数据失败!")), std::string::npos);
}

TEST_F(FetchImage, IsSilentAboutLevelsThatTheRasterDoesNotHave)
{
    m_rasters.m_minLevel = 4;
    m_rasters.m_maxLevel = 5;
    for (const double resolution : {156543.04 / 8, 156543.0 / 32, -1.0})
        EXPECT_EQ(Fetch({0, 9000000, 9000000, 0}, resolution), 0) << resolution;
    EXPECT_EQ(Log(), "");
    EXPECT_EQ(TilesRead(), 0U);
    EXPECT_EQ(Fetch({0, 9000000, 9000000, 0}, 156543.0 / 16), 1);
}

TEST_F(FetchImage, IsSilentOutsideTheRaster)
{
    m_rasters.m_bounds = {-100, 20, -80, 10};
    EXPECT_EQ(Fetch({0, 9000000, 9000000, 0}, 10000), 0);
    EXPECT_EQ(Log(), "");
    // Off the square altogether.
    m_rasters.m_bounds = {-180, 90, 180, -90};
    m_raster = FreshName("raster", ".tif");
    EXPECT_EQ(Fetch({190 * kDegree, 9000000, 200 * kDegree, 0}, 10000), 0);
    EXPECT_EQ(Fetch({-230 * kDegree, 9000000, -205 * kDegree, 0}, 10000), 0);
    EXPECT_EQ(Log(), "");
    EXPECT_EQ(TilesRead(), 0U);
    // Up to one tile west of the square, the south edge's samples still count as column 0.
    EXPECT_EQ(Fetch({-200 * kDegree, 9000000, -190 * kDegree, 0}, 10000), 1);
    EXPECT_GT(TilesRead(), 0U);
}

TEST_F(FetchImage, WritesNoFileWhereNoTileHasAPicture)
{
    m_rasters.m_image = [](int, int, int) { return std::unique_ptr<KxImageData>(); };
    EXPECT_EQ(Fetch({0, 9000000, 9000000, 0}, 10000), 1);
    EXPECT_FALSE(WroteFile());
    EXPECT_EQ(Log(), "");
}

TEST_F(FetchImage, AnswersWhatTheWriterAnswers)
{
    m_file = (m_folder.Path() / "no-such-folder" / "out.png").string();
    EXPECT_EQ(Fetch({0, 9000000, 9000000, 0}, 10000), 0);
    m_file = (m_folder.Path() / "out.bmp").string();
    EXPECT_EQ(Fetch({0, 9000000, 9000000, 0}, 10000), 0);
    EXPECT_EQ(Log(), "");
}

TEST_F(FetchImage, AnswersFalseWhereAReaderThrows)
{
    m_rasters.m_image = [](int, int, int) -> std::unique_ptr<KxImageData> {
        throw std::runtime_error("a reader's own");
    };
    EXPECT_EQ(Fetch({0, 9000000, 9000000, 0}, 10000), 0);
    EXPECT_EQ(Log(), "");
    Project([](const KxPoint3d&, KxPoint3d&) -> bool { throw std::runtime_error("another"); });
    EXPECT_EQ(Fetch({0, 9000000, 9000000, 0}, 10000), 0);
    EXPECT_FALSE(WroteFile());
}

TEST_F(FetchImage, AnswersFalseWhereWorkingMemoryRunsOut)
{
    m_rasters.m_image = [](int, int, int) -> std::unique_ptr<KxImageData> {
        throw std::bad_alloc();
    };
    EXPECT_EQ(Fetch({0, 9000000, 9000000, 0}, 10000), 0);
    EXPECT_NE(Log().find(Gbk("输出的文件大太大，内存分配失败!")), std::string::npos);
    EXPECT_FALSE(WroteFile());
}

TEST_F(FetchImage, ShowsNorthAtTheTop)
{
    ASSERT_EQ(Fetch({kTile4 * 0.1, kTile4 * 1.9, kTile4 * 0.9, kTile4 * 0.1}, 10000), 1);
    const auto picture = Picture();
    ASSERT_NE(picture, nullptr);
    ASSERT_EQ(picture->GetWidth(), 200); // 0.8 x 22.5 degrees x 111319.49 m / 10 km = 200.4
    ASSERT_EQ(picture->GetHeight(), 450);
    // Row 0 of a picture is the south; the tile north of the equator at longitude 0 is 8/8.
    EXPECT_EQ(Testing::PixelAt(*picture, 0, 0), Testing::AddressPixel({4, 8, 8}, 25, 25));
    EXPECT_EQ(Testing::PixelAt(*picture, 449, 0), Testing::AddressPixel({4, 9, 8}, 230, 25));
}

TEST_F(FetchImage, SamplesASingleColumnOrRowAtTheWestOrSouth)
{
    ASSERT_EQ(Fetch({kTile4 * 0.5, kTile4 * 0.5, kTile4 * 0.5 + 10001, kTile4 * 0.1}, 10000), 1);
    auto picture = Picture();
    ASSERT_NE(picture, nullptr);
    EXPECT_EQ(picture->GetWidth(), 1);
    EXPECT_EQ(Testing::PixelAt(*picture, 0, 0), Testing::AddressPixel({4, 8, 8}, 25, 128));
    ASSERT_EQ(Fetch({kTile4 * 0.1, kTile4 * 0.5 + 10001, kTile4 * 0.5, kTile4 * 0.5}, 10000), 1);
    picture = Picture();
    ASSERT_NE(picture, nullptr);
    EXPECT_EQ(picture->GetHeight(), 1);
    EXPECT_EQ(Testing::PixelAt(*picture, 0, 0), Testing::AddressPixel({4, 8, 8}, 128, 25));
}

TEST_F(FetchImage, SamplesTheLastColumnAndRowJustInsideTheEdge)
{
    // The edges are those of tiles: on them the next tile's first pixel would show.
    ASSERT_EQ(Fetch({0, kTile4, kTile4, 0}, kTile4 / 256.5), 1);
    const auto picture = Picture();
    ASSERT_NE(picture, nullptr);
    ASSERT_EQ(picture->GetWidth(), 256);
    EXPECT_EQ(Testing::PixelAt(*picture, 255, 255), Testing::AddressPixel({5, 17, 17}, 255, 255));
    EXPECT_EQ(Testing::PixelAt(*picture, 0, 0), Testing::AddressPixel({5, 16, 16}, 0, 0));
}

/// Pictures of 3 or 4 bytes, by tile.
class FetchImageAlpha : public FetchImage
{
protected:
    /// Two tiles by two, the whole of tiles 8 and 9 and a touch of tiles 10.
    int PixelSize(const std::function<int(int row, int col)>& bytesOf)
    {
        m_rasters.m_image = [bytesOf](int level, int row, int col) {
            const int bytes = bytesOf(row, col);
            return bytes == 0 ? nullptr : Testing::AddressImage({level, row, col}, 256, bytes);
        };
        m_raster = FreshName("raster", ".tif");
        EXPECT_EQ(Fetch({0, 2 * kTile4, 2 * kTile4, 0}, 10000), 1);
        m_picture = Picture();
        return m_picture == nullptr ? 0 : m_picture->GetPixelSize();
    }
    std::unique_ptr<KxImageData> m_picture;
};

TEST_F(FetchImageAlpha, HasNoneWhereEveryTileIsThereWithoutAlpha)
{
    EXPECT_EQ(PixelSize([](int, int) { return 3; }), 3);
}

TEST_F(FetchImageAlpha, ComesFromOneMissingTile)
{
    EXPECT_EQ(PixelSize([](int row, int col) { return row == 9 && col == 8 ? 0 : 3; }), 4);
    const int last = m_picture->GetHeight() - 1;
    EXPECT_EQ(Testing::PixelAt(*m_picture, last, 0), Testing::kNoPixel);
    EXPECT_EQ(Testing::PixelAt(*m_picture, 0, 0), Testing::AddressPixel({4, 8, 8}, 0, 0));
    EXPECT_EQ(Testing::PixelAt(*m_picture, last, last), Testing::AddressPixel({4, 9, 9}, 255, 255));
}

TEST_F(FetchImageAlpha, ComesFromOneTileWithAlpha)
{
    EXPECT_EQ(PixelSize([](int row, int col) { return row == 9 && col == 9 ? 4 : 3; }), 4);
    EXPECT_EQ(Testing::PixelAt(*m_picture, 0, 0)[3], 255);
}

TEST_F(FetchImageAlpha, ComesFromATileThatNoPixelFallsInto)
{
    // The edges' samples reach row and column 10, the last pixels are just inside.
    EXPECT_EQ(PixelSize([](int row, int) { return row == 10 ? 0 : 3; }), 4);
    EXPECT_EQ(PixelSize([](int row, int col) { return row == 10 && col == 10 ? 4 : 3; }), 4);
}

TEST_F(FetchImageAlpha, KeepsATilesAlphaInRowsThatBeganWithout)
{
    m_rasters.m_image = [](int level, int row, int col) {
        auto image = Testing::AddressImage({level, row, col}, 256, col == 9 && row == 9 ? 4 : 3);
        if (image->GetPixelSize() == 4)
            for (int i = 0; i < 256 * 256; ++i)
                image->GetData()[i * 4 + 3] = 77;
        return image;
    };
    ASSERT_EQ(Fetch({0, 2 * kTile4, 2 * kTile4, 0}, 10000), 1);
    const auto picture = Picture();
    ASSERT_NE(picture, nullptr);
    const int tile = picture->GetWidth() / 2;
    // The first row of the upper tiles begins in a tile without alpha.
    int first = 0;
    while (Testing::PixelAt(*picture, first, 0)[2] == Testing::AddressPixel({4, 8, 8}, 0, 0)[2])
        ++first;
    EXPECT_EQ(Testing::PixelAt(*picture, first, 0)[3], 255);
    EXPECT_EQ(Testing::PixelAt(*picture, first, tile + 5)[3], 77);
    EXPECT_EQ(Testing::PixelAt(*picture, first - 1, tile + 5)[3], 255);
}

TEST_F(FetchImageAlpha, LeavesWhatIsOffTheGridTransparent)
{
    // West of longitude -180 there are no tiles; whether the others have alpha shows only later.
    m_rasters.m_image = [](int level, int row, int col) {
        return Testing::AddressImage({level, row, col}, 256, row == 9 ? 4 : 3);
    };
    ASSERT_EQ(Fetch({-185 * kDegree, 2 * kTile4, -160 * kDegree, 0}, 10000), 1);
    const auto picture = Picture();
    ASSERT_NE(picture, nullptr);
    ASSERT_EQ(picture->GetPixelSize(), 4);
    EXPECT_EQ(Testing::PixelAt(*picture, 0, 0), Testing::kNoPixel);
    EXPECT_EQ(Testing::PixelAt(*picture, picture->GetHeight() - 1, 0), Testing::kNoPixel);
    EXPECT_EQ(Testing::PixelAt(*picture, 0, 100)[3], 255);
}

TEST_F(FetchImage, WithoutAProjectionEveryPixelIsTheMiddleOfTheWorld)
{
    m_rasters.m_toWgs84 = nullptr;
    m_projection = FreshName("projection");
    ASSERT_EQ(Fetch({1e6, 2e6, 2e6, 1e6}, 10000), 1);
    const auto picture = Picture();
    ASSERT_NE(picture, nullptr);
    EXPECT_EQ(Testing::PixelAt(*picture, 50, 50), Testing::AddressPixel({4, 8, 8}, 0, 0));
    m_rasters.m_bounds = {30, 40, 50, 30};
    m_raster = FreshName("raster", ".tif");
    EXPECT_EQ(Fetch({1e6, 2e6, 2e6, 1e6}, 10000), 0) << "which the raster does not reach";
}

TEST_F(FetchImage, ReadsEachTileOnceAndHoldsFewOfThem)
{
    // 50 x 50 tiles of 192 KiB.
    m_gWMTileDataCacheManager.SetBudget(std::size_t{64} << 20);
    std::size_t most = 0;
    m_rasters.m_image = [&most](int level, int row, int col) {
        const struct mallinfo2 heap = mallinfo2();
        most = std::max(most, heap.uordblks + heap.hblkhd);
        return Testing::AddressImage({level, row, col}, 256, 3);
    };
    const struct mallinfo2 before = mallinfo2();
    ASSERT_EQ(Fetch({-70 * kDegree, 70 * kDegree, 70 * kDegree, -70 * kDegree}, 2400), 1);
    // Level 7's tiles are 2.8125 degrees: 50 columns and rows.
    EXPECT_GE(TilesRead(), 50U * 50U);
    std::set<std::string> different(m_rasters.m_calls.begin(), m_rasters.m_calls.end());
    EXPECT_EQ(different.size(), m_rasters.m_calls.size()) << "some tile was read twice";
    // The picture, the row of tiles that is read, the row before it where both meet in a row of
    // pixels, and what is small.
    const std::size_t picture = std::size_t{6493} * 6493 * 3;
    const std::size_t rowOfTiles = std::size_t{50} * 256 * 256 * 3;
    const std::size_t small = std::size_t{2} << 20;
    EXPECT_LT(most, before.uordblks + before.hblkhd + picture + 2 * rowOfTiles + small);
    EXPECT_EQ(m_gWMTileDataCacheManager.GetStatistics().m_nTiles, 0U)
        << "so many would drive out everything else";
}

TEST_F(FetchImage, LeavesAFewTilesInTheMemoryCache)
{
    ASSERT_EQ(Fetch({0, kTile4, kTile4, 0}, 10000), 1);
    const std::size_t tiles = TilesRead();
    EXPECT_EQ(m_gWMTileDataCacheManager.GetStatistics().m_nTiles, tiles);
    ASSERT_EQ(Fetch({0, kTile4, kTile4, 0}, 10000), 1);
    EXPECT_EQ(TilesRead(), tiles);
}

TEST_F(FetchImage, GoesOnWhereTheCacheLosesTilesMeanwhile)
{
    // Every fifth tile that is read, the cache forgets all it had.
    int count = 0;
    m_rasters.m_image = [&count](int level, int row, int col) {
        if (++count % 5 == 0)
            m_gWMTileDataCacheManager.Clear();
        return Testing::AddressImage({level, row, col}, 256, 3);
    };
    ASSERT_EQ(Fetch({-80 * kDegree, 80 * kDegree, 80 * kDegree, -80 * kDegree}, 9000), 1);
    const auto picture = Picture();
    ASSERT_NE(picture, nullptr);
    // Longitude -80 is column (180 - 80) / 22.5 x 256 = 1137.8 of the square, latitude the same.
    EXPECT_EQ(Testing::PixelAt(*picture, 0, 0), Testing::AddressPixel({5, 8, 8}, 227, 227));
}

/// Every pixel against GetLLColRow2 for each.
class FetchImagePixels : public FetchImage
{
protected:
    struct Compared
    {
        long long m_pixels = 0;
        long long m_different = 0;
        long long m_transformed = 0;
    };

    Compared Compare(const Testing::ToWgs84& projection, const KxRect2d& rect, double resolution)
    {
        auto count = std::make_shared<long long>(0);
        Project([projection, count](const KxPoint3d& in, KxPoint3d& out) {
            ++*count;
            return projection(in, out);
        });
        m_raster = FreshName("raster", ".tif");
        EXPECT_EQ(Fetch(rect, resolution), 1);
        Compared compared;
        compared.m_transformed = *count;
        if (const auto picture = Picture())
            CompareWith(compared, *picture, rect, KxTileFetcher::CalcTSZLevel(resolution));
        EXPECT_GT(compared.m_pixels, 0);
        return compared;
    }

private:
    void
    CompareWith(Compared& compared, const KxImageData& picture, const KxRect2d& rect, int level)
    {
        KxCoordSysTrans* const transform = m_gCoordSysTransManager.GetKxCoordSysTrans(
            m_projection.c_str(), ProjectStringType_Proj4);
        const Tiles tiles = TilesUnder(rect, transform, level);
        const double dx = rect.Width() / (picture.GetWidth() - 1);
        const double dy = rect.Height() / (picture.GetHeight() - 1);
        double y = rect.m_dBottom;
        for (int r = 0; r < picture.GetHeight(); ++r) {
            double x = rect.m_dLeft;
            for (int c = 0; c < picture.GetWidth(); ++c) {
                double col = 0;
                double row = 0;
                KxTileFetcher::GetLLColRow2(col, row, transform, x, y, level);
                ++compared.m_pixels;
                Pixel is = Testing::PixelAt(picture, r, c);
                const Pixel wanted = At(tiles, level, row, col);
                if (wanted == Testing::kNoPixel && picture.GetPixelSize() == 3)
                    is[3] = 0; // black, where nothing needed alpha
                if (is != wanted)
                    ++compared.m_different;
                x = c == picture.GetWidth() - 2 ? rect.m_dRight - dx * 0.0001 : x + dx;
            }
            y = r == picture.GetHeight() - 2 ? rect.m_dTop - dy * 0.0001 : y + dy;
        }
    }
    struct Tiles
    {
        int m_minRow = -1;
        int m_minCol = -1;
        int m_maxRow = -1;
        int m_maxCol = -1;
    };
    static void Widen(int& least, int& most, double index)
    {
        if (index < 0)
            return;
        const int number = static_cast<int>(index);
        least = least < 0 ? number : std::min(least, number);
        most = std::max(most, number);
    }
    /// By the eighths of the four edges, those of the south edge truncated, the others floored.
    static Tiles TilesUnder(const KxRect2d& rect, KxCoordSysTrans* transform, int level)
    {
        Tiles tiles;
        const auto take = [&](double x, double y, bool south) {
            double col = 0;
            double row = 0;
            KxTileFetcher::GetLLColRow2(col, row, transform, x, y, level);
            Widen(tiles.m_minRow, tiles.m_maxRow, south ? std::trunc(row) : std::floor(row));
            Widen(tiles.m_minCol, tiles.m_maxCol, south ? std::trunc(col) : std::floor(col));
        };
        for (double x = rect.m_dLeft; x < rect.m_dRight; x += rect.Width() * 0.125) {
            take(x, rect.m_dBottom, true);
            take(x, rect.m_dTop, false);
        }
        for (double y = rect.m_dBottom; y < rect.m_dTop; y += rect.Height() * 0.125) {
            take(rect.m_dLeft, y, false);
            take(rect.m_dRight, y, false);
        }
        return tiles;
    }
    static Pixel At(const Tiles& tiles, int level, double row, double col)
    {
        const SourceTile tile{
            level, static_cast<int>(std::floor(row)), static_cast<int>(std::floor(col))};
        if (tile.m_row < tiles.m_minRow || tile.m_row > tiles.m_maxRow ||
            tile.m_col < tiles.m_minCol || tile.m_col > tiles.m_maxCol)
            return Testing::kNoPixel;
        return Testing::AddressPixel(tile,
                                     static_cast<int>((row - tile.m_row) * 256),
                                     static_cast<int>((col - tile.m_col) * 256));
    }
};

TEST_F(FetchImagePixels, AreThoseOfPlateCarree)
{
    const Compared compared = Compare(Testing::PlateCarree, {-1e6, 4e6, 2e6, 3e6}, 1500);
    EXPECT_EQ(compared.m_different, 0);
    EXPECT_LT(compared.m_transformed, compared.m_pixels / 10);
}

TEST_F(FetchImagePixels, AreThoseOfTransverseMercator)
{
    for (const double resolution : {1000.0, 30.0, 0.6}) {
        const double half = resolution * 250;
        const Compared compared = Compare(Testing::TransverseMercator(15),
                                          {2e5 - half, 5.5e6 + half, 2e5 + half, 5.5e6 - half},
                                          resolution);
        EXPECT_EQ(compared.m_different, 0) << resolution;
        EXPECT_LT(compared.m_transformed, compared.m_pixels / 10) << resolution;
    }
}

TEST_F(FetchImagePixels, AreThoseOfAConicSystem)
{
    for (const double resolution : {5000.0, 100.0, 2.5}) {
        const double half = resolution * 250;
        const Compared compared = Compare(Testing::LambertConic(33, 45, -96),
                                          {1e6 - half, 4e6 + half, 1e6 + half, 4e6 - half},
                                          resolution);
        EXPECT_EQ(compared.m_different, 0) << resolution;
        EXPECT_LT(compared.m_transformed, compared.m_pixels / 8) << resolution;
    }
}

TEST_F(FetchImagePixels, AreThoseOfRowsOfSeveralBlocks)
{
    // Blocks are 4097 columns wide.
    for (const double width : {8194.5, 8195.5, 9000.5}) {
        const double west = 2e5;
        const double south = 5.5e6;
        const Compared compared = Compare(
            Testing::TransverseMercator(15), {west, south + 350, west + width * 100, south}, 100);
        EXPECT_EQ(compared.m_pixels, static_cast<long long>(width) * 3);
        EXPECT_EQ(compared.m_different, 0) << width;
        EXPECT_LT(compared.m_transformed, compared.m_pixels / 8) << width;
    }
}

TEST_F(FetchImagePixels, AreThoseOfAPolarSystemWithoutThePole)
{
    const Compared compared =
        Compare(Testing::PolarStereographic(-45), {-6e5, -1e6, 3e5, -1.9e6}, 1000);
    EXPECT_EQ(compared.m_different, 0);
    EXPECT_LT(compared.m_transformed, compared.m_pixels / 5);
}

TEST_F(FetchImagePixels, AreThoseOfAPolarSystemAroundThePole)
{
    // The pole in the middle, the antimeridian on a line through it, unevenly and evenly placed.
    for (const double off : {0.0, 12345.6}) {
        const Compared compared =
            Compare(Testing::PolarStereographic(-45), {-4e6 + off, 4e6, 4e6 + off, -4e6}, 20000);
        EXPECT_EQ(compared.m_different, 0);
    }
}

TEST_F(FetchImagePixels, AreThoseAcrossTheAntimeridian)
{
    const Compared compared =
        Compare(Testing::TransverseMercator(179), {-2e5, 1.2e6, 4e5, 6e5}, 1000);
    EXPECT_EQ(compared.m_different, 0);
}

TEST_F(FetchImagePixels, AreThoseWherePointsCannotBeConverted)
{
    // The rim of the globe as seen from far, and beside it.
    for (const double left : {-7e6, 5.5e6, 6.2e6}) {
        const Compared compared =
            Compare(Testing::Orthographic(10, 40), {left, 7e6, left + 8e5, -7e6}, 10000);
        EXPECT_EQ(compared.m_different, 0) << left;
    }
}

TEST_F(FetchImagePixels, AreThoseOfAJumpAnywhereAlongARow)
{
    // Datums are joined along meridians: the place jumps by 2.3 source pixels.
    for (int at = 0; at < 140; ++at) {
        const double border = (at + 0.5) * 1000;
        const Compared compared = Compare(
            [border](const KxPoint3d& in, KxPoint3d& out) {
                Testing::PlateCarree(in, out);
                out.y += in.x > border ? 0.0123 : 0;
                return true;
            },
            {0, 5e6 + 3000, 300e3, 5e6},
            1000);
        ASSERT_EQ(compared.m_different, 0) << at;
    }
}

TEST_F(FetchImagePixels, AreThoseOfEachPointWhereBilinear)
{
    // Sampled between pixels, every position counts.
    KxImageData::SetBilinear(true);
    auto count = std::make_shared<long long>(0);
    Project([count](const KxPoint3d& in, KxPoint3d& out) {
        ++*count;
        return Testing::PlateCarree(in, out);
    });
    ASSERT_EQ(Fetch({0, 1e6, 1e6, 0}, 5000), 1);
    EXPECT_GE(*count, 200 * 200);
}

} // namespace
} // namespace KxC
