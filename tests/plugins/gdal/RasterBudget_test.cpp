// SPDX-License-Identifier: MIT
// Rasters that ask for more reading than anybody can wait for.
#include "RasterFixture.h"
#include "ReadBudget.h"
#include "WindowSamples.h"
#include "support/TempFolder.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

namespace KxC::Test {

namespace {

/// Files of these tests take no room: what is not written is not there.
void WriteSparse(const std::string& path, int side, GDALDataType type)
{
    GDALAllRegister();
    const char* const options[] = {"SPARSE_OK=TRUE", "TILED=YES", nullptr};
    const std::unique_ptr<GDALDataset> dataset(
        GetGDALDriverManager()->GetDriverByName("GTiff")->Create(
            path.c_str(), side, side, 1, type, options));
    ASSERT_NE(dataset, nullptr);
}

struct SourceSpec
{
    std::string m_element = "SimpleSource";
    std::string m_attributes; ///< of that element
    int m_sourceSide = 100000;
    std::string m_more; ///< elements beside it
};

/// A virtual raster of 200 x 200 pixels at 10 E 50 N, made of the whole of "source.tif" as often
/// as is said.
std::string Vrt(int sources, const char* type, const SourceSpec& spec)
{
    std::string text = fmt::format(R"(<VRTDataset rasterXSize="200" rasterYSize="200">
<SRS>EPSG:4326</SRS><GeoTransform>10, 0.01, 0, 50, 0, -0.01</GeoTransform>
<VRTRasterBand dataType="{}" band="1">)",
                                   type);
    for (int i = 0; i < sources; ++i)
        text +=
            fmt::format(R"(<{0} {1}><SourceFilename relativeToVRT="1">source.tif</SourceFilename>
<SourceBand>1</SourceBand><SrcRect xOff="0" yOff="0" xSize="{2}" ySize="{2}"/>
<DstRect xOff="0" yOff="0" xSize="200" ySize="200"/>{3}</{0}>)",
                        spec.m_element,
                        spec.m_attributes,
                        spec.m_sourceSide,
                        spec.m_more);
    return text + "</VRTRasterBand></VRTDataset>";
}

std::string AveragingVrt(int sources, const char* type, int sourceSide)
{
    SourceSpec spec;
    spec.m_attributes = "resampling=\"average\"";
    spec.m_sourceSide = sourceSide;
    return Vrt(sources, type, spec);
}

bool Opens(const TempFolder& folder, const std::string& vrt)
{
    WriteFile(folder.Path() / "a.vrt", vrt);
    return OpenedRaster(folder.File("a.vrt")) != nullptr;
}

} // namespace

TEST(GdalRasterBudget, AVirtualRasterThatAveragesWithoutEndIsRefused)
{
    const TempFolder folder;
    WriteSparse(folder.File("source.tif"), 100000, GDT_Byte);
    // 10^10 pixels, 500 times, for each tile that shows all of it.
    EXPECT_FALSE(Opens(folder, AveragingVrt(500, "Byte", 100000)));
}

TEST(GdalRasterBudget, AVirtualRasterWhoseRangeCannotBeLookedForIsRefused)
{
    const TempFolder folder;
    WriteSparse(folder.File("source.tif"), 100000, GDT_UInt16);
    // Its values are no bytes, so a sample of them is read when it is opened.
    EXPECT_FALSE(Opens(folder, AveragingVrt(500, "UInt16", 100000)));
}

TEST(GdalRasterBudget, AveragesOfPartsThatAreNotNamedAreRefused)
{
    const TempFolder folder;
    WriteSparse(folder.File("source.tif"), 400, GDT_Byte);
    const std::string sound = AveragingVrt(1, "Byte", 400);
    EXPECT_TRUE(Opens(folder, sound));
    for (const std::string part : {"<SrcRect", "<DstRect"}) {
        std::string without = sound;
        without.replace(without.find(part), part.size(), "<Nothing");
        EXPECT_FALSE(Opens(folder, without)) << part;
    }
    for (const int side : {0, -1, -400})
        EXPECT_FALSE(Opens(folder, AveragingVrt(1, "Byte", side))) << side;
}

TEST(GdalRasterBudget, FiltersAreRefused)
{
    const TempFolder folder;
    WriteSparse(folder.File("source.tif"), 200, GDT_Byte);
    SourceSpec spec;
    spec.m_sourceSide = 200;
    EXPECT_TRUE(Opens(folder, Vrt(1, "Byte", spec)));
    spec.m_element = "KernelFilteredSource";
    spec.m_more = "<Kernel><Size>3</Size><Coefs>1 1 1 1 1 1 1 1 1</Coefs></Kernel>";
    EXPECT_FALSE(Opens(folder, Vrt(1, "Byte", spec)));
}

TEST(GdalRasterBudget, AveragedOverviewsFarApartAreRefused)
{
    const TempFolder folder;
    WriteSparse(folder.File("source.tif"), 200, GDT_Byte);
    SourceSpec spec;
    spec.m_sourceSide = 200;
    const auto with = [&](const std::string& list) {
        std::string vrt = Vrt(1, "Byte", spec);
        return vrt.insert(vrt.find("</VRTDataset>"), list);
    };
    EXPECT_TRUE(Opens(folder, with("<OverviewList resampling=\"average\">2 4 8</OverviewList>")));
    EXPECT_TRUE(Opens(folder, with("<OverviewList>2 1000</OverviewList>")));
    EXPECT_FALSE(Opens(folder, with("<OverviewList resampling=\"average\">2 1000</OverviewList>")));
}

TEST(GdalRasterBudget, FairAveragesAreRead)
{
    const TempFolder folder;
    RasterSpec spec;
    spec.m_width = 400;
    spec.m_height = 400;
    spec.m_bands = 1;
    spec.m_value = [](int, int column, int row) { return (column + row) % 2 == 0 ? 0 : 200; };
    WriteRaster(folder.File("source.tif"), spec);
    WriteFile(folder.Path() / "a.vrt", AveragingVrt(1, "Byte", 400));
    const auto accessor = OpenedRaster(folder.File("a.vrt"));
    ASSERT_NE(accessor, nullptr);
    const int level = accessor->GetMaxLevel();
    const Tile tile(*accessor, level, Grid::Row(level, 49), Grid::Column(level, 11));
    ASSERT_TRUE(tile.IsThere());
    // Two of four pixels have 200.
    EXPECT_EQ(tile.At(128, 128), (Rgba{100, 100, 100, 255}));
}

class ReadBudgetTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        GDALAllRegister();
        m_dataset.reset(GetGDALDriverManager()->GetDriverByName("GTiff")->Create(
            m_folder.File("a.tif").c_str(), 64, 64, 1, GDT_Byte, nullptr));
        ASSERT_NE(m_dataset, nullptr);
        m_plan.m_bands = {1};
    }

    TempFolder m_folder;
    std::unique_ptr<GDALDataset> m_dataset;
    BandPlan m_plan;
};

TEST_F(ReadBudgetTest, EndsWhenItIsUsedUp)
{
    EXPECT_TRUE(ReadBudget(0).IsSpent());
    ReadBudget budget(0.01);
    while (!budget.IsSpent()) // what it counts is the time of this loop
        continue;
    EXPECT_FALSE(ReadBudget(1000).IsSpent());
}

TEST_F(ReadBudgetTest, EndsAReadThatIsUnderWay)
{
    std::vector<unsigned char> pixels(64 * 64);
    const auto read = [&](ReadBudget& budget) {
        GDALRasterIOExtraArg arguments = budget.Arguments();
        return m_dataset->GetRasterBand(1)->RasterIO(
            GF_Read, 0, 0, 64, 64, pixels.data(), 64, 64, GDT_Byte, 0, 0, &arguments);
    };
    ReadBudget spent(0);
    ReadBudget ample(1000);
    const CPLErrorHandlerPusher quiet(CPLQuietErrorHandler);
    EXPECT_NE(read(spent), CE_None);
    EXPECT_EQ(read(ample), CE_None);
}

TEST_F(ReadBudgetTest, EndsTheReadingOfWindows)
{
    const CPLErrorHandlerPusher quiet(CPLQuietErrorHandler);
    for (const bool hasMask : {false, true}) {
        m_plan.m_hasMask = hasMask;
        ReadBudget spent(0);
        ReadBudget ample(1000);
        EXPECT_FALSE(WindowSamples<unsigned char>(*m_dataset, m_plan, spent).Read({0, 0, 64, 64}));
        EXPECT_TRUE(WindowSamples<unsigned char>(*m_dataset, m_plan, ample).Read({0, 0, 64, 64}));
    }
}

} // namespace KxC::Test
