// SPDX-License-Identifier: MIT
// What bands become colours, and what of them is transparent.
#include "RasterFixture.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace KxC::Test {

namespace {

constexpr int kLevel = 9;

/// One tile's worth of pixels, exactly on the tile that holds 10 E 45 N.
RasterSpec OneTile(int bands, GDALDataType type = GDT_Byte)
{
    RasterSpec spec;
    spec.m_width = kSide;
    spec.m_height = kSide;
    spec.m_bands = bands;
    spec.m_type = type;
    const double degrees = Grid::TileDegrees(kLevel);
    spec.m_transform = Upright(-180 + degrees * Grid::Column(kLevel, 10),
                               -180 + degrees * (Grid::Row(kLevel, 45) + 1),
                               degrees / kSide,
                               degrees / kSide);
    return spec;
}

/// The tile of a raster of OneTile; row 0 of At is its last row.
Tile ReadOneTile(const RasterSpec& spec, const std::string& name = "a.tif")
{
    const TempFolder folder;
    WriteRaster(folder.File(name), spec);
    const auto accessor = OpenedRaster(folder.File(name));
    EXPECT_NE(accessor, nullptr);
    if (accessor == nullptr)
        throw std::runtime_error("does not open");
    return {*accessor, kLevel, Grid::Row(kLevel, 45), Grid::Column(kLevel, 10)};
}

int RowOf(int rowFromNorth)
{
    return kSide - 1 - rowFromNorth;
}

} // namespace

TEST(GdalRasterKinds, GreyIsGrey)
{
    RasterSpec spec = OneTile(1);
    spec.m_value = [](int, int x, int) { return x; };
    const Tile tile = ReadOneTile(spec);
    EXPECT_EQ(tile.PixelSize(), 3);
    EXPECT_EQ(tile.At(3, 200), (Rgba{200, 200, 200, 255}));
}

TEST(GdalRasterKinds, GreyWithAlphaIsAsTransparent)
{
    RasterSpec spec = OneTile(2);
    spec.m_options = {"ALPHA=YES"};
    spec.m_value = [](int band, int x, int y) { return band == 1 ? x : y; };
    const Tile tile = ReadOneTile(spec);
    EXPECT_EQ(tile.PixelSize(), 4);
    EXPECT_EQ(tile.At(RowOf(77), 200), (Rgba{200, 200, 200, 77}));
    EXPECT_EQ(tile.At(RowOf(0), 200), (Rgba{0, 0, 0, 0}));
}

TEST(GdalRasterKinds, AlphaThatIsFullEverywhereIsLeftOut)
{
    RasterSpec spec = OneTile(4);
    spec.m_options = {"ALPHA=YES"};
    EXPECT_EQ(ReadOneTile(spec).PixelSize(), 3);
    spec.m_value = [](int band, int, int) { return band == 4 ? 0 : 50; };
    EXPECT_FALSE(ReadOneTile(spec).IsThere()) << "wholly transparent";
}

TEST(GdalRasterKinds, PaletteGivesItsColours)
{
    RasterSpec spec = OneTile(1);
    spec.m_value = [](int, int x, int) { return x % 3; };
    spec.m_driver = "PNG";
    spec.m_more = [](GDALDataset& dataset) {
        GDALColorTable table;
        const GDALColorEntry entries[] = {{10, 20, 30, 255}, {40, 50, 60, 128}, {70, 80, 90, 0}};
        for (int i = 0; i < 3; ++i)
            table.SetColorEntry(i, &entries[i]);
        dataset.GetRasterBand(1)->SetColorTable(&table);
    };
    const Tile tile = ReadOneTile(spec, "a.png");
    EXPECT_EQ(tile.At(5, 0), (Rgba{10, 20, 30, 255}));
    EXPECT_EQ(tile.At(5, 1), (Rgba{40, 50, 60, 128}));
    EXPECT_EQ(tile.At(5, 2), (Rgba{0, 0, 0, 0}));
}

TEST(GdalRasterKinds, FewBitsReachFromBlackToWhite)
{
    RasterSpec spec = OneTile(1);
    spec.m_options = {"NBITS=2"};
    spec.m_value = [](int, int x, int) { return x % 4; };
    const Tile tile = ReadOneTile(spec);
    EXPECT_EQ(tile.At(5, 0)[0], 0);
    EXPECT_EQ(tile.At(5, 1)[0], 85);
    EXPECT_EQ(tile.At(5, 3)[0], 255);
}

TEST(GdalRasterKinds, SixteenBitsAreStretchedFromLeastToGreatest)
{
    RasterSpec spec = OneTile(1, GDT_UInt16);
    spec.m_value = [](int, int x, int y) { return 1000 + 10 * x + (y > 128 ? 100 : 0); };
    const Tile tile = ReadOneTile(spec);
    // As gdal_translate -scale computes it: from 1000 to 3650.
    EXPECT_EQ(tile.At(RowOf(0), 0)[0], 0);
    EXPECT_EQ(tile.At(RowOf(255), 255)[0], 255);
    EXPECT_EQ(tile.At(RowOf(0), 100)[0], std::lround(1000 * 255.0 / 2650));
}

TEST(GdalRasterKinds, StoredStatisticsDecideTheStretch)
{
    RasterSpec spec = OneTile(1, GDT_UInt16);
    spec.m_value = [](int, int x, int) { return x * 100; };
    spec.m_more = [](GDALDataset& dataset) {
        dataset.GetRasterBand(1)->SetStatistics(5000, 10000, 7000, 100);
    };
    const Tile tile = ReadOneTile(spec);
    EXPECT_EQ(tile.At(0, 40)[0], 0);
    EXPECT_EQ(tile.At(0, 60)[0], 51); // (6000 - 5000) / 5000 of 255
    EXPECT_EQ(tile.At(0, 120)[0], 255);
}

TEST(GdalRasterKinds, ColoursShareOneStretch)
{
    RasterSpec spec = OneTile(3, GDT_Int16);
    spec.m_value = [](int band, int x, int) { return band == 1 ? -1000 : band == 2 ? 1000 : x; };
    const Tile tile = ReadOneTile(spec);
    EXPECT_EQ(tile.At(0, 0), (Rgba{0, 255, 128, 255}));
}

TEST(GdalRasterKinds, FloatsAreStretchedPastNoDataAndWhatIsNoNumber)
{
    RasterSpec spec = OneTile(1, GDT_Float32);
    constexpr double kNoData = -3.4028234663852886e38;
    spec.m_value = [](int, int x, int y) {
        if (y == 0)
            return kNoData;
        return y == 1 ? std::numeric_limits<double>::quiet_NaN() : x / 510.0;
    };
    spec.m_more = [](GDALDataset& dataset) { dataset.GetRasterBand(1)->SetNoDataValue(kNoData); };
    const Tile tile = ReadOneTile(spec);
    EXPECT_EQ(tile.PixelSize(), 4);
    EXPECT_EQ(tile.At(RowOf(0), 9)[3], 0);
    EXPECT_EQ(tile.At(RowOf(1), 9)[3], 0);
    EXPECT_EQ(tile.At(RowOf(2), 9), (Rgba{9, 9, 9, 255}));
}

TEST(GdalRasterKinds, OneValueEverywhereIsNoDivisionByNothing)
{
    RasterSpec spec = OneTile(1, GDT_Float64);
    spec.m_value = [](int, int, int) { return 17.5; };
    EXPECT_EQ(ReadOneTile(spec).At(0, 0), (Rgba{0, 0, 0, 255}));
}

TEST(GdalRasterKinds, NoDataIsWhereAllColoursAreIt)
{
    RasterSpec spec = OneTile(3);
    spec.m_value = [](int band, int x, int) { return x == 0 || (x == 1 && band == 1) ? 9 : 100; };
    spec.m_more = [](GDALDataset& dataset) {
        for (int band = 1; band <= 3; ++band)
            dataset.GetRasterBand(band)->SetNoDataValue(9);
    };
    const Tile tile = ReadOneTile(spec);
    EXPECT_EQ(tile.At(0, 0), (Rgba{0, 0, 0, 0}));
    EXPECT_EQ(tile.At(0, 1), (Rgba{9, 100, 100, 255}));
    spec.m_value = [](int, int, int) { return 9; };
    EXPECT_FALSE(ReadOneTile(spec).IsThere());
}

TEST(GdalRasterKinds, MasksOfTheDatasetHide)
{
    RasterSpec spec = OneTile(3);
    const auto mask = [](GDALDataset& dataset) {
        dataset.CreateMaskBand(GMF_PER_DATASET);
        std::vector<unsigned char> row(kSide, 255);
        row[3] = 0;
        for (int y = 0; y < kSide; ++y)
            ASSERT_EQ(dataset.GetRasterBand(1)->GetMaskBand()->RasterIO(
                          GF_Write, 0, y, kSide, 1, row.data(), kSide, 1, GDT_Byte, 0, 0, nullptr),
                      CE_None);
    };
    spec.m_more = mask;
    const Tile tile = ReadOneTile(spec);
    EXPECT_EQ(tile.PixelSize(), 4);
    EXPECT_EQ(tile.At(0, 3), (Rgba{0, 0, 0, 0}));
    EXPECT_EQ(tile.At(RowOf(8), 4), PlaceColour(4, 8));
}

TEST(GdalRasterKinds, ColoursAreFoundByTheirNames)
{
    RasterSpec spec = OneTile(4);
    spec.m_options = {"PHOTOMETRIC=MINISBLACK"};
    spec.m_value = [](int band, int, int) { return band * 10; };
    spec.m_more = [](GDALDataset& dataset) {
        const GDALColorInterp names[] = {GCI_BlueBand, GCI_GreenBand, GCI_RedBand, GCI_Undefined};
        for (int band = 1; band <= 4; ++band)
            dataset.GetRasterBand(band)->SetColorInterpretation(names[band - 1]);
    };
    EXPECT_EQ(ReadOneTile(spec).At(0, 0), (Rgba{30, 20, 10, 255}));
}

TEST(GdalRasterKinds, UsualFormatsOpen)
{
    for (const auto& [driver, name] : {std::array{"JPEG", "a.jpg"},
                                       {"PNG", "a.png"},
                                       {"HFA", "a.img"},
                                       {"BMP", "a.bmp"},
                                       {"GIF", "a.gif"},
                                       {"WEBP", "a.webp"},
                                       {"JP2OpenJPEG", "a.jp2"},
                                       {"AAIGrid", "a.asc"},
                                       {"EHdr", "a.bil"}}) {
        const bool isColour = std::string(driver) == "WEBP" || std::string(driver) == "JPEG";
        RasterSpec spec = OneTile(isColour ? 3 : 1);
        spec.m_driver = driver;
        spec.m_value = [](int, int, int) { return 90; };
        // Formats without a place for it get a world file or GDAL's own file beside them.
        const Tile tile = ReadOneTile(spec, name);
        ASSERT_TRUE(tile.IsThere()) << driver;
        const bool isStretched = std::string(driver) == "AAIGrid"; // whole numbers without a size
        EXPECT_NEAR(tile.At(9, 9)[1], isStretched ? 0 : 90, 3) << driver;
    }
}

TEST(GdalRasterKinds, OverviewsServeCoarserLevels)
{
    const TempFolder folder;
    RasterSpec spec = OneTile(3);
    const double degrees = Grid::TileDegrees(kLevel);
    spec.m_width = 4 * kSide;
    spec.m_height = 4 * kSide;
    (*spec.m_transform)[1] = degrees / kSide / 4;
    (*spec.m_transform)[5] = -degrees / kSide / 4;
    spec.m_overviews = {2, 4};
    WriteRaster(folder.File("a.tif"), spec);
    {
        // What each resolution holds tells which one was read.
        const std::unique_ptr<GDALDataset> dataset(
            GDALDataset::Open(folder.File("a.tif").c_str(), GDAL_OF_UPDATE));
        ASSERT_NE(dataset, nullptr);
        for (int band = 1; band <= 3; ++band) {
            dataset->GetRasterBand(band)->GetOverview(0)->Fill(20);
            dataset->GetRasterBand(band)->GetOverview(1)->Fill(40);
        }
    }
    const auto accessor = OpenedRaster(folder.File("a.tif"));
    ASSERT_NE(accessor, nullptr);
    ASSERT_EQ(accessor->GetMaxLevel(), kLevel + 2);
    const int row = Grid::Row(kLevel, 45);
    const int column = Grid::Column(kLevel, 10);
    EXPECT_EQ(Tile(*accessor, kLevel, row, column).At(5, 5)[0], 40);
    EXPECT_EQ(Tile(*accessor, kLevel + 1, 2 * row, 2 * column).At(5, 5)[0], 20);
    EXPECT_EQ(Tile(*accessor, kLevel + 2, 4 * row + 3, 4 * column).At(RowOf(6), 5),
              PlaceColour(5, 6));
}

} // namespace KxC::Test
