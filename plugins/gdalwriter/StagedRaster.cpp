// SPDX-License-Identifier: MIT
#include "StagedRaster.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace KxC {

namespace {

GDALDriver* DriverOf(const char* name)
{
    return GetGDALDriverManager()->GetDriverByName(name);
}

/// Bands of a block of pixels, which lie one behind the other.
bool WriteBands(GDALDataset& dataset,
                int x,
                int y,
                int width,
                int height,
                const unsigned char* pixels,
                int firstBand,
                int bands,
                GSpacing pixelStep,
                GSpacing rowStep)
{
    int numbers[] = {firstBand, firstBand + 1, firstBand + 2, firstBand + 3};
    // GDAL's parameter serves reading too.
    return dataset.RasterIO(GF_Write,
                            x,
                            y,
                            width,
                            height,
                            const_cast<unsigned char*>(pixels),
                            width,
                            height,
                            GDT_Byte,
                            bands,
                            numbers,
                            pixelStep,
                            rowStep,
                            1,
                            nullptr) == CE_None;
}

/// The part of a block, along one axis, that lies on the raster.
struct Overlap
{
    Overlap(int start, int length, int rasterLength)
        : m_first(std::max<long long>(start, 0)), m_skip(m_first - start),
          m_length(std::min<long long>(static_cast<long long>(start) + length, rasterLength) -
                   m_first)
    {
    }

    int First() const { return static_cast<int>(m_first); }
    int Length() const { return static_cast<int>(m_length); }

    long long m_first;  ///< of the raster's pixels
    long long m_skip;   ///< of the block's pixels
    long long m_length; ///< below 1 when they do not meet
};

struct Listener
{
    KxRasterWriter::Progress m_progress;
    void* m_user;
    bool m_hasGivenUp = false; ///< asked once: GDAL goes on telling while it ends
};

int CPL_STDCALL Report(double share, const char* /*message*/, void* listener)
{
    auto& [progress, user, hasGivenUp] = *static_cast<Listener*>(listener);
    if (progress != nullptr && !hasGivenUp)
        hasGivenUp = progress(std::clamp(share, 0.0, 1.0), user) == 0;
    return hasGivenUp ? 0 : 1;
}

} // namespace

std::unique_ptr<StagedRaster> StagedRaster::Create(const std::string& file,
                                                   const RasterShape& shape)
{
    // Neither compressed nor filled before: blocks come in any order, some of them more than once.
    const char* const options[] = {"TILED=YES",
                                   "BIGTIFF=YES",
                                   "SPARSE_OK=TRUE",
                                   "PHOTOMETRIC=RGB",
                                   shape.m_bands == 4 ? "ALPHA=NON-PREMULTIPLIED" : nullptr,
                                   nullptr};
    std::unique_ptr<StagedRaster> raster(new StagedRaster);
    raster->m_dataset.reset(DriverOf("GTiff")->Create(
        file.c_str(), shape.m_width, shape.m_height, shape.m_bands, GDT_Byte, options));
    OGRSpatialReference crs;
    crs.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
    const KxRect2d& rect = shape.m_rect;
    double transform[] = {rect.m_dLeft,
                          (rect.m_dRight - rect.m_dLeft) / shape.m_width,
                          0,
                          rect.m_dTop,
                          0,
                          (rect.m_dBottom - rect.m_dTop) / shape.m_height};
    if (raster->m_dataset == nullptr || crs.importFromWkt(shape.m_wkt.c_str()) != OGRERR_NONE ||
        raster->m_dataset->SetSpatialRef(&crs) != CE_None ||
        raster->m_dataset->SetGeoTransform(transform) != CE_None)
        return nullptr;
    return raster;
}

bool StagedRaster::Write(int xFromWest, int yFromNorth, const KxImageData& block)
{
    const Overlap x(xFromWest, block.GetWidth(), m_dataset->GetRasterXSize());
    const Overlap y(yFromNorth, block.GetHeight(), m_dataset->GetRasterYSize());
    if (block.GetData() == nullptr || x.m_length < 1 || y.m_length < 1)
        return true;
    // The block's first row is its south; the raster's is its north.
    const std::ptrdiff_t north = block.GetHeight() - 1 - static_cast<std::ptrdiff_t>(y.m_skip);
    const int size = block.GetPixelSize();
    const unsigned char* pixels = block.GetData() + north * block.GetRowBytes() +
                                  static_cast<std::ptrdiff_t>(x.m_skip) * size;
    const auto write = [&](const unsigned char* from, int band, int bands, int step, int rowStep) {
        return WriteBands(*m_dataset,
                          x.First(),
                          y.First(),
                          x.Length(),
                          y.Length(),
                          from,
                          band,
                          bands,
                          step,
                          rowStep);
    };
    const int bands = m_dataset->GetRasterCount();
    if (!write(pixels, 1, std::min(bands, size), size, -block.GetRowBytes()))
        return false;
    if (bands <= size)
        return true;
    return WriteOpaque(x.First(), y.First(), x.Length(), y.Length());
}

bool StagedRaster::WriteOpaque(int left, int top, int width, int height)
{
    const std::vector<unsigned char> opaque(static_cast<std::size_t>(width), 255);
    bool written = true;
    for (int row = top; written && row < top + height; ++row)
        written = WriteBands(*m_dataset, left, row, width, 1, opaque.data(), 4, 1, 1, width);
    return written;
}

bool StagedRaster::Copy(const std::string& file, KxRasterWriter::Progress progress, void* user)
{
    Listener listener = {progress, user, false};
    const char* const options[] = {"COMPRESS=DEFLATE",
                                   "PREDICTOR=YES",
                                   "BIGTIFF=IF_SAFER",
                                   "SPARSE_OK=TRUE",
                                   "OVERVIEW_RESAMPLING=AVERAGE",
                                   "NUM_THREADS=1",
                                   nullptr};
    const DatasetHandle copy(
        DriverOf("COG")->CreateCopy(file.c_str(), m_dataset.get(), 0, options, &Report, &listener));
    return copy != nullptr;
}

} // namespace KxC
