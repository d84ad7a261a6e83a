// SPDX-License-Identifier: MIT
#include "BenchRasters.h"

#include "support/TempFolder.h"

#include <gdal_priv.h>
#include <gdal_utils.h>
#include <ogr_spatialref.h>

#include <filesystem>
#include <initializer_list>
#include <memory>
#include <stdexcept>
#include <vector>

namespace KxC::RasterBench {

namespace {

struct Closed
{
    void operator()(GDALDataset* dataset) const { GDALClose(dataset); }
};
using Raster = std::unique_ptr<GDALDataset, Closed>;

constexpr int kWidth = 10800;
constexpr int kHeight = 5400;

TempFolder& Folder()
{
    static TempFolder folder;
    return folder;
}

Raster Checked(GDALDataset* dataset, const std::string& what)
{
    if (dataset == nullptr)
        throw std::runtime_error("GDAL does not make " + what);
    return Raster(dataset);
}

/// A picture without any file: waves, so that rows differ and compress a little.
Raster MadeUp()
{
    Raster raster = Checked(GetGDALDriverManager()->GetDriverByName("MEM")->Create(
                                "", kWidth / 4, kHeight / 4, 3, GDT_Byte, nullptr),
                            "a picture");
    std::vector<unsigned char> row(kWidth / 4);
    for (int band = 1; band <= 3; ++band)
        for (int y = 0; y < kHeight / 4; ++y) {
            for (std::size_t x = 0; x < row.size(); ++x)
                row[x] = static_cast<unsigned char>((x * static_cast<std::size_t>(band + y)) >> 4U);
            if (raster->GetRasterBand(band)->RasterIO(GF_Write,
                                                      0,
                                                      y,
                                                      kWidth / 4,
                                                      1,
                                                      row.data(),
                                                      kWidth / 4,
                                                      1,
                                                      GDT_Byte,
                                                      0,
                                                      0,
                                                      nullptr) != CE_None)
                throw std::runtime_error("GDAL does not write to memory");
        }
    return raster;
}

bool HasMarble()
{
    return std::filesystem::exists(KXTILE_BLUE_MARBLE);
}

void BuildOverviews(GDALDataset& raster, std::initializer_list<int> factors)
{
    std::vector<int> list = factors;
    raster.BuildOverviews(
        "NEAREST", static_cast<int>(list.size()), list.data(), 0, nullptr, nullptr, nullptr);
}

std::string MakeWorld()
{
    GDALAllRegister();
    const Raster picture =
        HasMarble() ? Checked(GDALDataset::Open(KXTILE_BLUE_MARBLE), "the Blue Marble") : MadeUp();
    const std::string path = Folder().File("world.tif");
    const char* arguments[] = {"-outsize",
                               "10800",
                               "5400",
                               "-r",
                               "bilinear",
                               "-a_srs",
                               "EPSG:4326",
                               "-a_ullr",
                               "-180",
                               "90",
                               "180",
                               "-90",
                               "-co",
                               "TILED=YES",
                               "-co",
                               "INTERLEAVE=PIXEL",
                               nullptr};
    GDALTranslateOptions* options = GDALTranslateOptionsNew(const_cast<char**>(arguments), nullptr);
    const Raster world = Checked(
        GDALDataset::FromHandle(GDALTranslate(path.c_str(), picture.get(), options, nullptr)),
        path);
    GDALTranslateOptionsFree(options);
    BuildOverviews(*world, {2, 4, 8, 16, 32});
    return path;
}

std::string MakeUtm()
{
    const Raster world = Checked(GDALDataset::Open(WorldRaster().c_str()), "the world");
    const std::string path = Folder().File("utm.tif");
    const char* arguments[] = {"-t_srs",
                               "EPSG:32633",
                               "-te",
                               "0",
                               "4600000",
                               "1024000",
                               "5624000",
                               "-ts",
                               "4096",
                               "4096",
                               "-r",
                               "bilinear",
                               "-co",
                               "TILED=YES",
                               nullptr};
    GDALWarpAppOptions* options = GDALWarpAppOptionsNew(const_cast<char**>(arguments), nullptr);
    GDALDatasetH source = world.get();
    const Raster utm = Checked(
        GDALDataset::FromHandle(GDALWarp(path.c_str(), nullptr, 1, &source, options, nullptr)),
        path);
    GDALWarpAppOptionsFree(options);
    BuildOverviews(*utm, {2, 4, 8});
    return path;
}

} // namespace

const std::string& WorldRaster()
{
    static const std::string path = MakeWorld();
    return path;
}

const std::string& UtmRaster()
{
    static const std::string path = MakeUtm();
    return path;
}

std::string Origin()
{
    return HasMarble() ? "Blue Marble" : "made up";
}

} // namespace KxC::RasterBench
