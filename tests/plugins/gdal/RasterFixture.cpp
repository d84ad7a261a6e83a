// SPDX-License-Identifier: MIT
#include "RasterFixture.h"

#include "PluginFolder.h"

#include <cpl_string.h>
#include <gtest/gtest.h>
#include <ogr_spatialref.h>

#include <cmath>
#include <filesystem>
#include <stdexcept>

#ifdef __SANITIZE_THREAD__
/// GDAL takes two of its own recursive locks in either order while it registers its drivers.
extern "C" __attribute__((visibility("default"))) const char* __tsan_default_suppressions()
{
    return "deadlock:libgdal.so\n";
}
#endif

namespace KxC::Test {

namespace {

struct Closed
{
    void operator()(GDALDataset* dataset) const { GDALClose(dataset); }
};
using Dataset = std::unique_ptr<GDALDataset, Closed>;

/// Pictures' drivers write copies of what is in memory.
bool CanCreate(GDALDriver& driver)
{
    return driver.GetMetadataItem(GDAL_DCAP_CREATE) != nullptr;
}

void Place(GDALDataset& dataset, const RasterSpec& spec)
{
    if (spec.m_transform) {
        std::array<double, 6> transform = *spec.m_transform;
        dataset.SetGeoTransform(transform.data());
    }
    if (spec.m_crs.empty())
        return;
    OGRSpatialReference crs;
    crs.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
    if (crs.SetFromUserInput(spec.m_crs.c_str()) != OGRERR_NONE)
        throw std::runtime_error("no such system: " + spec.m_crs);
    dataset.SetSpatialRef(&crs);
}

void Fill(GDALDataset& dataset, const RasterSpec& spec)
{
    std::vector<double> row(static_cast<std::size_t>(spec.m_width));
    for (int band = 1; band <= spec.m_bands; ++band)
        for (int y = 0; y < spec.m_height; ++y) {
            for (int x = 0; x < spec.m_width; ++x)
                row[static_cast<std::size_t>(x)] =
                    spec.m_value ? spec.m_value(band, x, y)
                                 : PlaceColour(x, y)[static_cast<std::size_t>(band - 1)];
            if (dataset.GetRasterBand(band)->RasterIO(GF_Write,
                                                      0,
                                                      y,
                                                      spec.m_width,
                                                      1,
                                                      row.data(),
                                                      spec.m_width,
                                                      1,
                                                      GDT_Float64,
                                                      0,
                                                      0,
                                                      nullptr) != CE_None)
                throw std::runtime_error("GDAL does not write");
        }
}

} // namespace

Rgba PlaceColour(int column, int row)
{
    return {column % 256, row % 256, (column / 256) * 16 + row / 256, 255};
}

std::array<double, 6> Upright(double west, double north, double pixelWidth, double pixelHeight)
{
    return {west, pixelWidth, 0, north, 0, -pixelHeight};
}

void WriteRaster(const std::string& path, const RasterSpec& spec)
{
    GDALAllRegister();
    GDALDriver* driver = GetGDALDriverManager()->GetDriverByName(spec.m_driver.c_str());
    if (driver == nullptr)
        throw std::runtime_error("no driver " + spec.m_driver);
    CPLStringList options;
    for (const std::string& option : spec.m_options)
        options.AddString(option.c_str());
    const bool isDirect = CanCreate(*driver);
    GDALDriver* memory = GetGDALDriverManager()->GetDriverByName("MEM");
    Dataset dataset((isDirect ? driver : memory)
                        ->Create(isDirect ? path.c_str() : "",
                                 spec.m_width,
                                 spec.m_height,
                                 spec.m_bands,
                                 spec.m_type,
                                 isDirect ? options.List() : nullptr));
    if (dataset == nullptr)
        throw std::runtime_error("GDAL does not create " + path);
    Place(*dataset, spec);
    if (spec.m_more)
        spec.m_more(*dataset);
    Fill(*dataset, spec);
    if (!spec.m_overviews.empty()) {
        std::vector<int> overviews = spec.m_overviews;
        dataset->BuildOverviews("NEAREST",
                                static_cast<int>(overviews.size()),
                                overviews.data(),
                                0,
                                nullptr,
                                nullptr,
                                nullptr);
    }
    if (!isDirect)
        dataset.reset(
            driver->CreateCopy(path.c_str(), dataset.get(), 0, options.List(), nullptr, nullptr));
}

std::unique_ptr<KxRasterDataAccessor> OpenedRaster(const std::string& path)
{
    UseBuiltPlugin();
    const std::string extension = std::filesystem::path(path).extension().string();
    std::unique_ptr<KxRasterDataAccessor> accessor(static_cast<KxRasterDataAccessor*>(
        m_gPluginManager.FindPluginByExt("AccessorPlugin", extension.c_str())));
    EXPECT_NE(accessor, nullptr) << extension;
    if (accessor == nullptr || accessor->Open(path.c_str()) == 0)
        return nullptr;
    return accessor;
}

Tile::Tile(KxRasterDataAccessor& accessor, int level, int row, int col)
{
    KxImageData* image = nullptr;
    accessor.ReadTileImage(image, level, row, col);
    m_image.reset(image);
}

Rgba Tile::At(int row, int column) const
{
    if (!IsThere())
        return {};
    const int size = PixelSize();
    const unsigned char* pixel = m_image->GetData() +
                                 static_cast<std::ptrdiff_t>(row) * m_image->GetRowBytes() +
                                 static_cast<std::ptrdiff_t>(column) * size;
    return {pixel[0], pixel[1], pixel[2], size == 4 ? pixel[3] : 255};
}

int Tile::VisiblePixels() const
{
    int visible = 0;
    for (int row = 0; IsThere() && row < kSide; ++row)
        for (int column = 0; column < kSide; ++column)
            visible += At(row, column)[3] != 0 ? 1 : 0;
    return visible;
}

double Grid::TileDegrees(int level)
{
    return 360 / std::pow(2, level);
}

int Grid::Column(int level, double longitude)
{
    return static_cast<int>(std::floor((longitude + 180) / TileDegrees(level)));
}

int Grid::Row(int level, double latitude)
{
    return static_cast<int>(std::floor((latitude + 180) / TileDegrees(level)));
}

} // namespace KxC::Test
