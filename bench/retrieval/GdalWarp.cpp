// SPDX-License-Identifier: MIT
#include "GdalWarp.h"

#include <gdal_priv.h>
#include <gdalwarper.h>
#include <ogr_spatialref.h>

#include <cmath>
#include <stdexcept>
#include <utility>

namespace KxC::RetrievalBench {

namespace {

constexpr double kHalfWorld = 20037508.342789244;
constexpr int kTile = 256;

struct Freed
{
    void operator()(GDALDataset* dataset) const { GDALClose(dataset); }
};
using Raster = std::unique_ptr<GDALDataset, Freed>;

/// A grid's plane: where tile (0, 0) begins, and the edge of a tile.
struct Plane
{
    const char* m_projection;
    double m_west;
    double m_south;
    double m_tile;
};

Plane PlaneOf(int scheme, int level)
{
    const double n = std::exp2(level);
    if (scheme == 4 || scheme == 13)
        return {"+proj=merc +a=6378206 +b=6356584.314245179 +units=m +no_defs",
                0,
                0,
                kTile * std::exp2(18 - level)};
    if (scheme == 9)
        return {"EPSG:4326", -180, -180, 360 / n};
    return {"EPSG:3857", -kHalfWorld, -kHalfWorld, 2 * kHalfWorld / n};
}

Raster
NewRaster(int width, int height, const char* projection, double west, double north, double step)
{
    GDALDriver* driver = GetGDALDriverManager()->GetDriverByName("MEM");
    Raster raster(driver->Create("", width, height, 3, GDT_Byte, nullptr));
    double transform[] = {west, step, 0, north, 0, -step};
    raster->SetGeoTransform(transform);
    OGRSpatialReference system;
    system.SetFromUserInput(projection);
    system.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
    raster->SetSpatialRef(&system);
    return raster;
}

void WriteTile(GDALDataset& raster, int left, int top, Bytes pixels)
{
    // The tile's rows count from the south.
    unsigned char* lastRow = pixels.data() + (kTile - 1) * kTile * 3;
    int bands[] = {1, 2, 3};
    if (raster.RasterIO(GF_Write,
                        left,
                        top,
                        kTile,
                        kTile,
                        lastRow,
                        kTile,
                        kTile,
                        GDT_Byte,
                        3,
                        bands,
                        3,
                        -kTile * 3,
                        1,
                        nullptr) != CE_None)
        throw std::runtime_error("GDAL does not write to memory");
}

} // namespace

struct GdalWarp::Rasters
{
    Raster m_from;
    Raster m_to;
};

GdalWarp::GdalWarp(const StoredSource& source, int scheme, int level, int x, int y, int z, int size)
{
    GDALAllRegister();
    const Block& block = source.Tiles();
    const Plane plane = PlaneOf(scheme, level);
    Raster from = NewRaster(block.Columns() * kTile,
                            block.Rows() * kTile,
                            plane.m_projection,
                            plane.m_west + block.m_minCol * plane.m_tile,
                            plane.m_south + (block.m_maxRow + 1) * plane.m_tile,
                            plane.m_tile / kTile);
    for (int row = block.m_minRow; row <= block.m_maxRow; ++row)
        for (int col = block.m_minCol; col <= block.m_maxCol; ++col)
            WriteTile(*from,
                      (col - block.m_minCol) * kTile,
                      (block.m_maxRow - row) * kTile,
                      source.PixelsAt(row, col));
    const double span = 2 * kHalfWorld / (1 << z);
    Raster to = NewRaster(
        size, size, "EPSG:3857", x * span - kHalfWorld, kHalfWorld - y * span, span / size);
    m_rasters = std::make_unique<Rasters>(Rasters{std::move(from), std::move(to)});
}

GdalWarp::~GdalWarp() = default;

bool GdalWarp::Run()
{
    constexpr double kUsualTolerance = 0.125; // pixels
    return GDALReprojectImage(m_rasters->m_from.get(),
                              nullptr,
                              m_rasters->m_to.get(),
                              nullptr,
                              GRA_NearestNeighbour,
                              0,
                              kUsualTolerance,
                              nullptr,
                              nullptr,
                              nullptr) == CE_None;
}

} // namespace KxC::RetrievalBench
