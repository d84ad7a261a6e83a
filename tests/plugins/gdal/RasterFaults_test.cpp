// SPDX-License-Identifier: MIT
// Files that are no rasters, or more than rasters.
#include "RasterFixture.h"
#include "support/LoopbackServer.h"
#include "support/TempFolder.h"

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <filesystem>
#include <random>

namespace KxC::Test {

namespace {

namespace fs = std::filesystem;

RasterSpec Small()
{
    RasterSpec spec;
    spec.m_transform = Upright(10, 50, 0.01, 0.01);
    return spec;
}

void ReadEverything(KxRasterDataAccessor& accessor)
{
    const KxRect2d bounds = accessor.GetLatLonBounds();
    for (int level = accessor.GetMinLevel(); level <= accessor.GetMaxLevel(); ++level)
        Tile(accessor,
             level,
             Grid::Row(level, (bounds.m_dBottom + bounds.m_dTop) / 2),
             Grid::Column(level, (bounds.m_dLeft + bounds.m_dRight) / 2));
}

/// A virtual raster of 64 x 64 pixels at 10 E 50 N with one source.
std::string Vrt(const std::string& sourceElement)
{
    return fmt::format(R"(<VRTDataset rasterXSize="64" rasterYSize="64">
<SRS>EPSG:4326</SRS><GeoTransform>10, 0.01, 0, 50, 0, -0.01</GeoTransform>
<VRTRasterBand dataType="Byte" band="1"><SimpleSource>{}<SourceBand>1</SourceBand>
<SrcRect xOff="0" yOff="0" xSize="64" ySize="64"/><DstRect xOff="0" yOff="0" xSize="64" ySize="64"/>
</SimpleSource></VRTRasterBand></VRTDataset>)",
                       sourceElement);
}

std::string SourceElement(const std::string& name)
{
    return "<SourceFilename relativeToVRT=\"1\">" + name + "</SourceFilename>";
}

long PeakKilobytes()
{
    rusage usage = {};
    ::getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

} // namespace

TEST(GdalRasterFaults, WhatIsNoRasterDoesNotOpen)
{
    const TempFolder folder;
    std::mt19937 random(7);
    std::string noise(5000, '\0');
    for (char& byte : noise)
        byte = static_cast<char>(random());
    for (const std::string& content : {std::string(),
                                       noise,
                                       std::string("II*\0", 4) + noise,
                                       std::string("hello"),
                                       std::string(1000000, '\0')})
        for (const char* name : {"a.tif", "a.png", "a.jpg", "a.vrt", "a.jp2", "a.img", "a.asc"}) {
            WriteFile(folder.Path() / name, content);
            EXPECT_EQ(OpenedRaster(folder.File(name)), nullptr) << name << content.size();
        }
    fs::create_directory(folder.Path() / "folder.tif");
    EXPECT_EQ(OpenedRaster(folder.File("folder.tif")), nullptr);
    EXPECT_EQ(OpenedRaster(folder.File("missing.tif")), nullptr);
}

TEST(GdalRasterFaults, CutFilesNeverCrash)
{
    const TempFolder folder;
    for (const auto& [driver, name] :
         {std::array{"GTiff", "a.tif"}, {"HFA", "a.img"}, {"BMP", "a.bmp"}}) {
        RasterSpec spec = Small();
        spec.m_driver = driver;
        spec.m_overviews = std::string(driver) == "GTiff" ? std::vector{2, 4} : std::vector<int>();
        WriteRaster(folder.File(name), spec);
        const std::string whole = ReadFile(folder.File(name));
        ASSERT_GT(whole.size(), 1000U);
        for (std::size_t size = 0; size < whole.size(); size += 1 + whole.size() / 60) {
            WriteFile(folder.Path() / name, whole.substr(0, size));
            if (const auto accessor = OpenedRaster(folder.File(name)); accessor != nullptr)
                ReadEverything(*accessor);
        }
    }
}

TEST(GdalRasterFaults, ChangedBytesNeverCrash)
{
    const TempFolder folder;
    RasterSpec spec = Small();
    spec.m_options = {"COMPRESS=DEFLATE", "TILED=YES", "BLOCKXSIZE=32", "BLOCKYSIZE=32"};
    spec.m_overviews = {2};
    WriteRaster(folder.File("a.tif"), spec);
    const std::string whole = ReadFile(folder.File("a.tif"));
    std::mt19937 random(11);
    for (int round = 0; round < 300; ++round) {
        std::string bytes = whole;
        for (int change = 0; change < 4; ++change) // most of them in the head
            bytes[random() % (round % 2 == 0 ? 600 : bytes.size())] = static_cast<char>(random());
        WriteFile(folder.Path() / "b.tif", bytes);
        if (const auto accessor = OpenedRaster(folder.File("b.tif")); accessor != nullptr)
            ReadEverything(*accessor);
    }
}

TEST(GdalRasterFaults, AHugeRasterOfOneColourTakesNoRoom)
{
    const TempFolder folder;
    GDALAllRegister();
    const char* const options[] = {"SPARSE_OK=TRUE", "TILED=YES", nullptr};
    {
        const std::unique_ptr<GDALDataset> dataset(
            GetGDALDriverManager()->GetDriverByName("GTiff")->Create(
                folder.File("a.tif").c_str(), 100000, 100000, 3, GDT_Byte, options));
        ASSERT_NE(dataset, nullptr);
        std::array<double, 6> transform = Upright(500000, 5000000, 1, 1);
        dataset->SetGeoTransform(transform.data());
        OGRSpatialReference crs;
        crs.importFromEPSG(32633);
        dataset->SetSpatialRef(&crs);
    }
    const long before = PeakKilobytes();
    const auto accessor = OpenedRaster(folder.File("a.tif"));
    ASSERT_NE(accessor, nullptr);
    const KxRect2d bounds = accessor->GetLatLonBounds();
    const double x = (bounds.m_dLeft + bounds.m_dRight) / 2;
    const double y = (bounds.m_dBottom + bounds.m_dTop) / 2;
    for (const int level : {accessor->GetMinLevel(), 10, 14, accessor->GetMaxLevel()})
        EXPECT_TRUE(Tile(*accessor, level, Grid::Row(level, y), Grid::Column(level, x)).IsThere())
            << level;
    // The pixels are 30 GB; GDAL's own cache of blocks is 5 % of the machine's memory.
    EXPECT_LT(PeakKilobytes() - before, 4 * 1024 * 1024);
}

TEST(GdalRasterFaults, ABlockOfHundredsOfMegabytesIsRefused)
{
    const TempFolder folder;
    GDALAllRegister();
    const char* const options[] = {"SPARSE_OK=TRUE",
                                   "TILED=YES",
                                   "BLOCKXSIZE=20000",
                                   "BLOCKYSIZE=20000",
                                   "COMPRESS=DEFLATE",
                                   nullptr};
    {
        const std::unique_ptr<GDALDataset> dataset(
            GetGDALDriverManager()->GetDriverByName("GTiff")->Create(
                folder.File("a.tif").c_str(), 40000, 40000, 1, GDT_Byte, options));
        ASSERT_NE(dataset, nullptr);
        std::array<double, 6> transform = Upright(10, 50, 0.0001, 0.0001);
        dataset->SetGeoTransform(transform.data());
    }
    EXPECT_EQ(OpenedRaster(folder.File("a.tif")), nullptr);
}

TEST(GdalRasterFaults, NothingIsPrinted)
{
    const TempFolder folder;
    WriteRaster(folder.File("a.tif"), Small());
    const std::string whole = ReadFile(folder.File("a.tif"));
    testing::internal::CaptureStderr();
    testing::internal::CaptureStdout();
    for (const std::size_t size : {whole.size() / 2, whole.size() / 4, std::size_t{100}}) {
        WriteFile(folder.Path() / "b.tif", whole.substr(0, size));
        if (const auto accessor = OpenedRaster(folder.File("b.tif")); accessor != nullptr)
            ReadEverything(*accessor);
    }
    WriteFile(folder.Path() / "c.vrt", Vrt(SourceElement("missing.tif")));
    EXPECT_EQ(OpenedRaster(folder.File("c.vrt")), nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST(GdalRasterVirtual, ReadsItsSources)
{
    const TempFolder folder;
    WriteRaster(folder.File("source.tif"), Small());
    WriteFile(folder.Path() / "a.vrt", Vrt(SourceElement("source.tif")));
    const auto accessor = OpenedRaster(folder.File("a.vrt"));
    ASSERT_NE(accessor, nullptr);
    const int level = accessor->GetMinLevel();
    EXPECT_GT(
        Tile(*accessor, level, Grid::Row(level, 49.7), Grid::Column(level, 10.3)).VisiblePixels(),
        100);
    // One that is made of others.
    WriteFile(folder.Path() / "b.vrt", Vrt(SourceElement("a.vrt")));
    EXPECT_NE(OpenedRaster(folder.File("b.vrt")), nullptr);
}

TEST(GdalRasterVirtual, ThatLeadsToItselfIsRefused)
{
    const TempFolder folder;
    WriteFile(folder.Path() / "a.vrt", Vrt(SourceElement("a.vrt")));
    WriteFile(folder.Path() / "b.vrt", Vrt(SourceElement("c.vrt")));
    WriteFile(folder.Path() / "c.vrt", Vrt(SourceElement("b.vrt")));
    EXPECT_EQ(OpenedRaster(folder.File("a.vrt")), nullptr);
    EXPECT_EQ(OpenedRaster(folder.File("b.vrt")), nullptr);
}

TEST(GdalRasterVirtual, ThatMultipliesItselfIsRefused)
{
    const TempFolder folder;
    WriteRaster(folder.File("0.tif"), Small());
    const std::string source = "<SourceBand>1</SourceBand></SimpleSource><SimpleSource>";
    std::string below = "0.tif";
    for (int depth = 1; depth <= 4; ++depth) {
        std::string sources;
        for (int i = 0; i < 30; ++i)
            sources.append(SourceElement(below)).append(source);
        below = fmt::format("{}.vrt", depth);
        WriteFile(folder.Path() / below, Vrt(sources + SourceElement("0.tif")));
    }
    EXPECT_NE(OpenedRaster(folder.File("2.vrt")), nullptr);
    EXPECT_EQ(OpenedRaster(folder.File("4.vrt")), nullptr) << "810 000 reads for each";
}

TEST(GdalRasterVirtual, ThatNamesAddressesIsRefusedAndSendsNothing)
{
    const TempFolder folder;
    const KxC::Testing::LoopbackServer server;
    const std::string url = server.Url("/a.tif");
    const std::string wms = "&lt;GDAL_WMS&gt;&lt;Service name=\"TMS\"&gt;&lt;ServerUrl&gt;" + url +
                            "&lt;/ServerUrl&gt;&lt;/Service&gt;&lt;/GDAL_WMS&gt;";
    for (const std::string& name : {url,
                                    "/vsicurl/" + url,
                                    "/vsicurl_streaming/" + url,
                                    "/vsizip//vsicurl/" + url,
                                    "vrt://" + url,
                                    "WMS:" + url,
                                    "WMTS:" + url,
                                    wms,
                                    std::string("/vsistdin/"),
                                    std::string("/vsistdin?buffer_limit=-1"),
                                    std::string("/dev/zero"),
                                    std::string("/dev/stdin")})
        for (const char* relative : {"0", "1"}) {
            WriteFile(folder.Path() / "a.vrt",
                      Vrt(fmt::format("<SourceFilename relativeToVRT=\"{}\">{}</SourceFilename>",
                                      relative,
                                      name)));
            EXPECT_EQ(OpenedRaster(folder.File("a.vrt")), nullptr) << name;
        }
    // A service description under a raster's name, by itself and as a source.
    WriteFile(
        folder.Path() / "wms.tif",
        "<GDAL_WMS><Service name=\"TMS\"><ServerUrl>" + url +
            "</ServerUrl></Service><DataWindow><SizeX>64</SizeX><SizeY>64</SizeY></DataWindow>"
            "</GDAL_WMS>");
    EXPECT_EQ(OpenedRaster(folder.File("wms.tif")), nullptr);
    WriteFile(folder.Path() / "a.vrt", Vrt(SourceElement("wms.tif")));
    EXPECT_EQ(OpenedRaster(folder.File("a.vrt")), nullptr);
    EXPECT_EQ(OpenedRaster("/vsicurl/" + url), nullptr);
    EXPECT_EQ(OpenedRaster(url), nullptr);
    EXPECT_EQ(server.ConnectionCount(), 0);
}

TEST(GdalRasterVirtual, OverviewsElsewhereAreRefusedAndSendNothing)
{
    const TempFolder folder;
    const KxC::Testing::LoopbackServer server;
    RasterSpec spec = Small();
    WriteRaster(folder.File("a.tif"), spec);
    WriteFile(folder.Path() / "a.tif.aux.xml",
              "<PAMDataset><Metadata domain=\"OVERVIEWS\"><MDI key=\"OVERVIEW_FILE\">/vsicurl/" +
                  server.Url("/a.ovr") + "</MDI></Metadata></PAMDataset>");
    EXPECT_EQ(OpenedRaster(folder.File("a.tif")), nullptr);
    // As the source of another it may open, but reaches nothing.
    WriteFile(folder.Path() / "a.vrt", Vrt(SourceElement("a.tif")));
    if (const auto accessor = OpenedRaster(folder.File("a.vrt")); accessor != nullptr)
        ReadEverything(*accessor);
    EXPECT_EQ(server.ConnectionCount(), 0);
}

TEST(GdalRasterVirtual, ThatRunsOrWarpsIsRefused)
{
    const TempFolder folder;
    WriteRaster(folder.File("source.tif"), Small());
    std::string python = Vrt(SourceElement("source.tif"));
    python.replace(python.find("<SimpleSource>"),
                   0,
                   "<PixelFunctionLanguage>Python</PixelFunctionLanguage><PixelFunctionCode>import "
                   "os</PixelFunctionCode>");
    WriteFile(folder.Path() / "a.vrt", python);
    EXPECT_EQ(OpenedRaster(folder.File("a.vrt")), nullptr);
    WriteFile(folder.Path() / "b.vrt",
              "<VRTDataset rasterXSize=\"9\" rasterYSize=\"9\" subClass=\"VRTWarpedDataset\">"
              "<GDALWarpOptions><SourceDataset relativeToVRT=\"1\">source.tif</SourceDataset>"
              "</GDALWarpOptions></VRTDataset>");
    EXPECT_EQ(OpenedRaster(folder.File("b.vrt")), nullptr);
}

} // namespace KxC::Test
