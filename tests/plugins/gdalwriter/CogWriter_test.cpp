// SPDX-License-Identifier: MIT
#include "KxRasterWriter.h"
#include "support/TempFolder.h"

#include <gdal_priv.h>
#include <gtest/gtest.h>
#include <ogr_spatialref.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <vector>

namespace KxC::Test {

namespace {

namespace fs = std::filesystem;

using Rgba = std::array<int, 4>;

std::unique_ptr<KxRasterWriter> NewWriter()
{
    // NOLINTNEXTLINE(concurrency-mt-unsafe): no other thread runs
    static const int set = ::setenv("KXTILE_PLUGIN_PATH", KX_PLUGIN_FOLDER, 1);
    static_cast<void>(set);
    return std::unique_ptr<KxRasterWriter>(static_cast<KxRasterWriter*>(
        m_gPluginManager.FindPluginByExt("RasterWriterPlugin", ".TIF")));
}

/// What a pixel is, counted from the north-west of the raster.
Rgba ColourAt(int x, int y)
{
    return {x % 256, y % 256, (x / 256) * 16 + y / 256, 255};
}

/// A block of a raster whose pixels tell their place.
std::unique_ptr<KxImageData> BlockAt(int x, int y, int width, int height, int size)
{
    auto block = std::make_unique<KxImageData>(
        width, height, size == 3 ? KxPixelFormat_RGB : KxPixelFormat_RGBA);
    for (int row = 0; row < height; ++row)
        for (int column = 0; column < width; ++column) {
            const Rgba colour = ColourAt(x + column, y + row);
            std::array<unsigned char, 4> pixel = {};
            for (std::size_t i = 0; i < 4; ++i)
                pixel[i] = static_cast<unsigned char>(colour[i]);
            block->SetValue(height - 1 - row, column, pixel.data(), size);
        }
    return block;
}

struct Closed
{
    void operator()(GDALDataset* dataset) const { GDALClose(dataset); }
};

/// A finished file, read by GDAL.
class Written
{
public:
    explicit Written(const std::string& path)
    {
        GDALAllRegister();
        m_dataset.reset(GDALDataset::Open(path.c_str()));
        if (m_dataset == nullptr)
            throw std::runtime_error("GDAL does not open " + path);
    }
    GDALDataset* operator->() const { return m_dataset.get(); }
    Rgba At(int x, int y) const
    {
        Rgba colour = {0, 0, 0, 255};
        for (int band = 1; band <= m_dataset->GetRasterCount(); ++band) {
            unsigned char value = 0;
            EXPECT_EQ(m_dataset->GetRasterBand(band)->RasterIO(
                          GF_Read, x, y, 1, 1, &value, 1, 1, GDT_Byte, 0, 0, nullptr),
                      CE_None);
            colour[static_cast<std::size_t>(band - 1)] = value;
        }
        return colour;
    }

private:
    std::unique_ptr<GDALDataset, Closed> m_dataset;
};

int FilesIn(const fs::path& folder)
{
    return static_cast<int>(
        std::distance(fs::directory_iterator(folder), fs::directory_iterator()));
}

const KxRect2d kExtent = {10, 50, 16, 46}; // degrees

unsigned char GiveUp(double /*share*/, void* calls)
{
    ++*static_cast<int*>(calls);
    return 0;
}

unsigned char Listen(double share, void* shares)
{
    static_cast<std::vector<double>*>(shares)->push_back(share);
    return 1;
}

} // namespace

TEST(CogWriter, WritesACloudOptimizedGeoTiff)
{
    const TempFolder folder;
    const auto writer = NewWriter();
    ASSERT_NE(writer, nullptr);
    ASSERT_NE(writer->IsAvailable(), 0);
    ASSERT_NE(writer->Create(
                  folder.File("a.tif").c_str(), 1200, 800, 3, kExtent, "4326", KxECrsForm_Epsg),
              0)
        << writer->GetError().Cstr();
    for (int y = 0; y < 800; y += 200)
        for (int x = 0; x < 1200; x += 300)
            ASSERT_NE(writer->WriteBlock(x, y, *BlockAt(x, y, 300, 200, 3)), 0);
    EXPECT_FALSE(fs::exists(folder.File("a.tif"))) << "not before it is whole";
    std::vector<double> shares;
    ASSERT_NE(writer->Finish(&Listen, &shares), 0) << writer->GetError().Cstr();
    EXPECT_STREQ(writer->GetError().Cstr(), "");
    EXPECT_EQ(FilesIn(folder.Path()), 1);
    ASSERT_FALSE(shares.empty());
    EXPECT_DOUBLE_EQ(shares.back(), 1);

    const Written file(folder.File("a.tif"));
    EXPECT_STREQ(file->GetMetadataItem("LAYOUT", "IMAGE_STRUCTURE"), "COG");
    EXPECT_GT(file->GetRasterBand(1)->GetOverviewCount(), 0);
    ASSERT_EQ(file->GetRasterCount(), 3);
    for (const auto& [x, y] : {std::pair{0, 0}, {299, 199}, {300, 200}, {777, 555}, {1199, 799}})
        EXPECT_EQ(file.At(x, y), ColourAt(x, y)) << x << ' ' << y;
    std::array<double, 6> transform = {};
    ASSERT_EQ(file->GetGeoTransform(transform.data()), CE_None);
    EXPECT_EQ(transform, (std::array<double, 6>{10, 0.005, 0, 50, 0, -0.005}));
    ASSERT_NE(file->GetSpatialRef(), nullptr);
    EXPECT_STREQ(file->GetSpatialRef()->GetAuthorityCode(nullptr), "4326");
}

TEST(CogWriter, KeepsTransparencyWhereNothingWasWritten)
{
    const TempFolder folder;
    const auto writer = NewWriter();
    ASSERT_NE(writer->Create(folder.File("a.tif").c_str(),
                             600,
                             600,
                             4,
                             {0, 6e5, 6e5, 0},
                             "+proj=utm +zone=33 +datum=WGS84",
                             KxECrsForm_Proj),
              0);
    ASSERT_NE(writer->WriteBlock(100, 100, *BlockAt(100, 100, 50, 40, 4)), 0);
    ASSERT_NE(writer->WriteBlock(300, 300, *BlockAt(300, 300, 50, 40, 3)), 0) << "opaque";
    ASSERT_NE(writer->Finish(nullptr, nullptr), 0) << writer->GetError().Cstr();
    const Written file(folder.File("a.tif"));
    ASSERT_EQ(file->GetRasterCount(), 4);
    EXPECT_EQ(file->GetRasterBand(4)->GetColorInterpretation(), GCI_AlphaBand);
    EXPECT_EQ(file.At(99, 100), (Rgba{0, 0, 0, 0}));
    EXPECT_EQ(file.At(100, 100), ColourAt(100, 100));
    EXPECT_EQ(file.At(149, 139), ColourAt(149, 139));
    EXPECT_EQ(file.At(349, 339), ColourAt(349, 339));
}

TEST(CogWriter, CutsBlocksAtTheEdges)
{
    const TempFolder folder;
    const auto writer = NewWriter();
    ASSERT_NE(
        writer->Create(
            folder.File("a.tif").c_str(), 64, 48, 3, kExtent, "EPSG:4326", KxECrsForm_Authority),
        0);
    for (const auto& [x, y] : {std::pair{-10, -20}, {40, -20}, {-10, 30}, {40, 30}, {500, 0}})
        ASSERT_NE(writer->WriteBlock(x, y, *BlockAt(x + 256, y + 256, 50, 50, 4)), 0);
    ASSERT_NE(writer->Finish(nullptr, nullptr), 0) << writer->GetError().Cstr();
    const Written file(folder.File("a.tif"));
    for (const auto& [x, y] : {std::pair{0, 0}, {39, 29}, {40, 30}, {63, 47}, {63, 0}, {0, 47}}) {
        Rgba wanted = ColourAt(x + 256, y + 256);
        EXPECT_EQ(file.At(x, y), wanted) << x << ' ' << y;
    }
}

/// Names of what lies in a folder.
std::vector<std::string> NamesIn(const fs::path& folder)
{
    std::vector<std::string> names;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder))
        names.push_back(entry.path().filename().string());
    return names;
}

// Programs that clean up after killed ones go by that name.
TEST(CogWriter, WorksInAHiddenFolderNamedForItsProcess)
{
    const TempFolder folder;
    const auto first = NewWriter();
    const std::string path = folder.File(std::string(255 - 4, 'n') + ".tif");
    ASSERT_EQ(first->Create(path.c_str(), 64, 64, 3, {0, 1, 1, 0}, "EPSG:4326", 2), 1)
        << first->GetError().Cstr();
    const std::string start = ".kxtile-" + std::to_string(::getpid()) + "-";
    const auto isOwn = [&](const std::string& name) {
        return name.starts_with(start) && name.ends_with(".tmp") &&
               fs::is_directory(folder.Path() / name);
    };
    ASSERT_EQ(NamesIn(folder.Path()).size(), 1U);
    EXPECT_TRUE(isOwn(NamesIn(folder.Path())[0])) << NamesIn(folder.Path())[0];
    // Another raster beside it has a folder of its own.
    const auto second = NewWriter();
    ASSERT_EQ(second->Create(path.c_str(), 64, 64, 3, {0, 1, 1, 0}, "EPSG:4326", 2), 1);
    EXPECT_EQ(NamesIn(folder.Path()).size(), 2U);
    second->Cancel();
    ASSERT_EQ(first->Finish(nullptr, nullptr), 1) << first->GetError().Cstr();
    EXPECT_EQ(NamesIn(folder.Path()), std::vector<std::string>{fs::path(path).filename().string()});
}

// A process of the same number, killed long ago, may have left one.
TEST(CogWriter, PassesOverNamesThatAreTaken)
{
    const TempFolder folder;
    for (int i = 1; i <= 200; ++i)
        fs::create_directory(folder.Path() / (".kxtile-" + std::to_string(::getpid()) + "-" +
                                              std::to_string(i) + ".tmp"));
    const auto writer = NewWriter();
    ASSERT_EQ(writer->Create(folder.File("a.tif").c_str(), 64, 64, 3, {0, 1, 1, 0}, "EPSG:4326", 2),
              1)
        << writer->GetError().Cstr();
    ASSERT_EQ(writer->Finish(nullptr, nullptr), 1);
    EXPECT_EQ(NamesIn(folder.Path()).size(), 201U) << "what is not its own stays";
}

TEST(CogWriter, GivenUpItLeavesWhatWasThere)
{
    const TempFolder folder;
    WriteFile(folder.Path() / "a.tif", "older");
    const auto writer = NewWriter();
    const auto begin = [&] {
        ASSERT_NE(
            writer->Create(
                folder.File("a.tif").c_str(), 2000, 2000, 3, kExtent, "4326", KxECrsForm_Epsg),
            0);
        ASSERT_NE(writer->WriteBlock(0, 0, *BlockAt(0, 0, 2000, 2000, 3)), 0);
        EXPECT_EQ(FilesIn(folder.Path()), 2);
    };
    begin();
    int calls = 0;
    EXPECT_EQ(writer->Finish(&GiveUp, &calls), 0);
    EXPECT_EQ(calls, 1);
    EXPECT_STRNE(writer->GetError().Cstr(), "");
    EXPECT_EQ(FilesIn(folder.Path()), 1);
    begin();
    writer->Cancel();
    EXPECT_EQ(FilesIn(folder.Path()), 1);
    EXPECT_EQ(writer->Finish(nullptr, nullptr), 0);
    EXPECT_NE(std::string(writer->GetError().Cstr()).find("Create"), std::string::npos);
    EXPECT_EQ(ReadFile(folder.Path() / "a.tif"), "older");
}

TEST(CogWriter, DestroyedItLeavesNothing)
{
    const TempFolder folder;
    {
        const auto writer = NewWriter();
        ASSERT_NE(writer->Create(
                      folder.File("a.tif").c_str(), 600, 600, 4, kExtent, "4326", KxECrsForm_Epsg),
                  0);
        ASSERT_NE(writer->WriteBlock(0, 0, *BlockAt(0, 0, 256, 256, 4)), 0);
    }
    EXPECT_EQ(FilesIn(folder.Path()), 0);
}

TEST(CogWriter, SaysWhatIsWrongWithWhatItIsGiven)
{
    const TempFolder folder;
    const auto writer = NewWriter();
    const auto fault = [&](const std::string& path,
                           int width,
                           int bands,
                           const KxRect2d& rect,
                           const char* crs,
                           int form) {
        EXPECT_EQ(writer->Create(path.c_str(), width, 10, bands, rect, crs, form), 0);
        EXPECT_EQ(writer->WriteBlock(0, 0, *BlockAt(0, 0, 10, 10, 3)), 0) << "nothing is begun";
        EXPECT_EQ(writer->Create(path.c_str(), width, 10, bands, rect, crs, form), 0);
        return std::string(writer->GetError().Cstr());
    };
    const std::string path = folder.File("a.tif");
    EXPECT_NE(fault(folder.File("no/a.tif"), 10, 3, kExtent, "4326", 2).find("no/a.tif"),
              std::string::npos);
    EXPECT_NE(fault(path, 0, 3, kExtent, "4326", 2).find("0 x 10"), std::string::npos);
    EXPECT_NE(fault(path, 10, 5, kExtent, "4326", 2).find("5 bytes"), std::string::npos);
    EXPECT_NE(fault(path, 10, 3, {5, 5, 5, 5}, "4326", 2).find("extent"), std::string::npos);
    EXPECT_NE(fault(path, 10, 3, kExtent, "nonsense", 2).find("nonsense"), std::string::npos);
    EXPECT_NE(fault(path, 10, 3, kExtent, nullptr, 0), "");
    EXPECT_NE(fault(path, 10, 3, kExtent, "4326", 9).find('9'), std::string::npos);
    EXPECT_EQ(FilesIn(folder.Path()), 0);
}

TEST(CogWriter, GivesTheTextOfAPrjFile)
{
    const auto writer = NewWriter();
    // As `projinfo --single-line -q -o WKT1_ESRI EPSG:32633` prints it.
    const std::string utm =
        R"(PROJCS["WGS_1984_UTM_Zone_33N",GEOGCS["GCS_WGS_1984",DATUM["D_WGS_1984",)"
        R"(SPHEROID["WGS_1984",6378137.0,298.257223563]],PRIMEM["Greenwich",0.0],)"
        R"(UNIT["Degree",0.0174532925199433]],PROJECTION["Transverse_Mercator"],)"
        R"(PARAMETER["False_Easting",500000.0],PARAMETER["False_Northing",0.0],)"
        R"(PARAMETER["Central_Meridian",15.0],PARAMETER["Scale_Factor",0.9996],)"
        R"(PARAMETER["Latitude_Of_Origin",0.0],UNIT["Meter",1.0]])";
    EXPECT_STREQ(writer->GetEsriPrj("32633", KxECrsForm_Epsg).Cstr(), utm.c_str());
    EXPECT_STREQ(writer->GetError().Cstr(), "");
    const TempFolder folder;
    WriteFile(folder.Path() / "a.prj", utm);
    EXPECT_STREQ(writer->GetEsriPrj(folder.File("a.prj").c_str(), KxECrsForm_PrjFile).Cstr(),
                 utm.c_str());
    EXPECT_STREQ(writer->GetEsriPrj("nonsense", KxECrsForm_Wkt).Cstr(), "");
    EXPECT_STRNE(writer->GetError().Cstr(), "");
}

} // namespace KxC::Test
