// SPDX-License-Identifier: MIT
// The tile grid of rasters in degrees, where every pixel's place is plain arithmetic.
#include "RasterFixture.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <cmath>

namespace KxC::Test {

namespace {

/// A raster whose pixels are those of a level of the grid, from the corner of a tile on.
struct Aligned
{
    explicit Aligned(int level, int tiles = 2)
        : m_step(Grid::TileDegrees(level) / kSide),
          m_west(-180 + Grid::TileDegrees(level) * Grid::Column(level, 10.0)),
          m_south(-180 + Grid::TileDegrees(level) * Grid::Row(level, 45.0))
    {
        m_spec.m_width = tiles * kSide;
        m_spec.m_height = tiles * kSide;
        m_spec.m_transform =
            Upright(m_west, m_south + tiles * Grid::TileDegrees(level), m_step, m_step);
    }

    double m_step;
    double m_west;
    double m_south;
    RasterSpec m_spec;
};

} // namespace

TEST(GdalRaster, OffersAlignedPixelsAsTheyAre)
{
    const TempFolder folder;
    const Aligned aligned(9);
    WriteRaster(folder.File("a.tif"), aligned.m_spec);
    const auto accessor = OpenedRaster(folder.File("a.tif"));
    ASSERT_NE(accessor, nullptr);
    EXPECT_EQ(accessor->GetMaxLevel(), 9);
    const Tile tile(*accessor, 9, Grid::Row(9, 45.0), Grid::Column(9, 10.0) + 1);
    ASSERT_TRUE(tile.IsThere());
    EXPECT_EQ(tile.PixelSize(), 3);
    for (int row = 0; row < kSide; ++row)
        for (int column = 0; column < kSide; ++column) // the south-eastern of four tiles
            ASSERT_EQ(tile.At(row, column), PlaceColour(kSide + column, 2 * kSide - 1 - row))
                << row << ' ' << column;
}

TEST(GdalRaster, TakesThePixelThatHoldsTheCentre)
{
    const TempFolder folder;
    const Aligned aligned(9);
    WriteRaster(folder.File("a.tif"), aligned.m_spec);
    const auto accessor = OpenedRaster(folder.File("a.tif"));
    ASSERT_NE(accessor, nullptr);
    // A level up, centres lie on edges, which belong to the pixel behind them.
    const int row8 = Grid::Row(9, 45.0) / 2;
    const int col8 = Grid::Column(9, 10.0) / 2;
    const Tile tile(*accessor, 8, row8, col8);
    const double step = Grid::TileDegrees(8) / kSide;
    int compared = 0;
    for (int row = 0; row < kSide; ++row)
        for (int column = 0; column < kSide; ++column) {
            const double longitude = -180 + col8 * Grid::TileDegrees(8) + (column + 0.5) * step;
            const double latitude = -180 + row8 * Grid::TileDegrees(8) + (row + 0.5) * step;
            const double x = (longitude - aligned.m_west) / aligned.m_step;
            const double y = 2 * kSide - (latitude - aligned.m_south) / aligned.m_step;
            if (x < 0 || x >= 2 * kSide || y < 0 || y >= 2 * kSide) {
                ASSERT_EQ(tile.At(row, column)[3], 0);
                continue;
            }
            ++compared;
            ASSERT_EQ(tile.At(row, column),
                      PlaceColour(static_cast<int>(x + 1e-6), static_cast<int>(y + 1e-6)));
        }
    EXPECT_GT(compared, 10000);
}

TEST(GdalRaster, HasLevelsFromItsPixelToTheTileThatHoldsIt)
{
    const TempFolder folder;
    Aligned aligned(9);
    aligned.m_spec.m_transform = Upright(10.1, 45.3, aligned.m_step * 0.99, aligned.m_step * 0.99);
    WriteRaster(folder.File("finer.tif"), aligned.m_spec);
    aligned.m_spec.m_transform = Upright(10.1, 45.3, aligned.m_step * 1.01, aligned.m_step * 1.01);
    WriteRaster(folder.File("coarser.tif"), aligned.m_spec);
    const auto finer = OpenedRaster(folder.File("finer.tif"));
    const auto coarser = OpenedRaster(folder.File("coarser.tif"));
    ASSERT_TRUE(finer != nullptr && coarser != nullptr);
    EXPECT_EQ(finer->GetMaxLevel(), 10);
    EXPECT_EQ(coarser->GetMaxLevel(), 9);
    const KxRect2d bounds = finer->GetLatLonBounds();
    const auto isHeld = [&](int level) {
        return Grid::Column(level, bounds.m_dLeft) == Grid::Column(level, bounds.m_dRight) &&
               Grid::Row(level, bounds.m_dBottom) == Grid::Row(level, bounds.m_dTop);
    };
    EXPECT_TRUE(isHeld(finer->GetMinLevel()));
    EXPECT_FALSE(isHeld(finer->GetMinLevel() + 1));
}

TEST(GdalRaster, TellsItsBoundsTypeAndPath)
{
    const TempFolder folder;
    RasterSpec spec;
    spec.m_transform = Upright(10, 50, 0.01, 0.02);
    WriteRaster(folder.File("degrees.tif"), spec);
    const auto degrees = OpenedRaster(folder.File("degrees.tif"));
    ASSERT_NE(degrees, nullptr);
    EXPECT_EQ(degrees->GetGeoReferenceType(), KxEGeoReferenceType_Geographic);
    EXPECT_STREQ(degrees->GetDataPath().Cstr(), folder.File("degrees.tif").c_str());
    EXPECT_NEAR(degrees->GetLatLonBounds().m_dLeft, 10, 1e-9);
    EXPECT_NEAR(degrees->GetLatLonBounds().m_dTop, 50, 1e-9);
    EXPECT_NEAR(degrees->GetLatLonBounds().m_dRight, 10.64, 1e-9);
    EXPECT_NEAR(degrees->GetLatLonBounds().m_dBottom, 48.72, 1e-9);
    spec.m_crs = "EPSG:3857";
    spec.m_transform = Upright(0, 0, 1000, 1000);
    WriteRaster(folder.File("metres.tif"), spec);
    const auto metres = OpenedRaster(folder.File("metres.tif"));
    ASSERT_NE(metres, nullptr);
    EXPECT_EQ(metres->GetGeoReferenceType(), KxEGeoReferenceType_Projected);
    EXPECT_NEAR(metres->GetLatLonBounds().m_dRight, 64000 / 6378137.0 * 180 / M_PI, 1e-9);
}

TEST(GdalRaster, HasNoImageOutsideItself)
{
    const TempFolder folder;
    const Aligned aligned(9);
    WriteRaster(folder.File("a.tif"), aligned.m_spec);
    const auto accessor = OpenedRaster(folder.File("a.tif"));
    ASSERT_NE(accessor, nullptr);
    const int row = Grid::Row(9, 45.0);
    const int column = Grid::Column(9, 10.0);
    for (const auto& [level, r, c] : {std::array{9, row, column - 1},
                                      {9, row - 1, column},
                                      {9, row + 2, column},
                                      {9, row, column + 2},
                                      {9, -1, column},
                                      {9, row, 512},
                                      {10, 2 * row, 2 * column},
                                      {-1, 0, 0},
                                      {31, 0, 0}})
        EXPECT_FALSE(Tile(*accessor, level, r, c).IsThere()) << level << ' ' << r << ' ' << c;
    EXPECT_TRUE(Tile(*accessor, 9, row, column).IsThere());
}

TEST(GdalRaster, ReadsAgainAnythingItIsOpenedFor)
{
    const TempFolder folder;
    Aligned aligned(9);
    WriteRaster(folder.File("a.tif"), aligned.m_spec);
    aligned.m_spec.m_value = [](int, int, int) { return 7; };
    WriteRaster(folder.File("b.tif"), aligned.m_spec);
    const auto accessor = OpenedRaster(folder.File("a.tif"));
    ASSERT_NE(accessor, nullptr);
    ASSERT_NE(accessor->Open(folder.File("b.tif").c_str()), 0);
    const Tile tile(*accessor, 9, Grid::Row(9, 45.0), Grid::Column(9, 10.0));
    EXPECT_EQ(tile.At(0, 0), (Rgba{7, 7, 7, 255}));
}

} // namespace KxC::Test
