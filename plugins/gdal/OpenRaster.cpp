// SPDX-License-Identifier: MIT
#include "OpenRaster.h"

#include "EarthBounds.h"
#include "FileCheck.h"
#include "GdalScope.h"
#include "KxMath.h"
#include "RasterError.h"
#include "Stretch.h"
#include "TilePainter.h"

#include <filesystem>
#include <system_error>

namespace KxC {

std::unique_ptr<OpenRaster> OpenRaster::Open(const std::string& path)
{
    if (LiveHolders::Instance().IsClosed())
        return nullptr;
    std::error_code error;
    const std::string absolute = std::filesystem::absolute(path, error).string();
    if (error)
        throw RasterError("its folder is not known: " + error.message());
    const GdalScope scope;
    const std::string driver = CheckRasterFile(absolute);
    std::unique_ptr<OpenRaster> raster(new OpenRaster(absolute, driver));
    const DatasetPool::Loan loan(raster->m_pool);
    if (loan.Get() == nullptr)
        return nullptr;
    raster->Describe(*loan.Get(), absolute);
    return raster;
}

void OpenRaster::Describe(RasterFile& file, const std::string& path)
{
    GDALDataset& dataset = file.Dataset();
    m_size = SizeOf(dataset);
    m_bandCount = dataset.GetRasterCount();
    m_georeference = Georeference::Of(dataset, path);
    std::optional<BandPlan> plan = MakeBandPlan(dataset);
    if (m_georeference == nullptr)
        throw RasterError("it has no georeference, or none that is understood: a world file beside "
                          "it counts as one");
    if (!plan)
        throw RasterError("it has no band that shows anything");
    m_plan = std::move(*plan);
    const double pixel = FindPixelDegrees(*m_georeference, m_size.m_width, m_size.m_height);
    if (!(pixel > 0) ||
        !FindEarthBounds(*m_georeference, m_size.m_width, m_size.m_height, m_bounds))
        throw RasterError("no part of it lies on the earth, as its georeference has it");
    m_levels = FindLevels(m_bounds, pixel);
    FindStretch(file, m_plan);
}

bool OpenRaster::IsOnTile(int level, int row, int col) const
{
    if (level < m_levels.m_min || level > m_levels.m_max || row < 0 || col < 0 ||
        row >= 1LL << level || col >= 1LL << level)
        return false;
    KxRect2d tile;
    KxMath::CalcTileBounds(tile, level, row, col);
    return tile.m_dLeft < m_bounds.m_dRight && tile.m_dRight > m_bounds.m_dLeft &&
           tile.m_dBottom < m_bounds.m_dTop && tile.m_dTop > m_bounds.m_dBottom;
}

void OpenRaster::CheckIsSame(RasterFile& file) const
{
    const RasterSize size = SizeOf(file.Dataset());
    if (size.m_width != m_size.m_width || size.m_height != m_size.m_height ||
        file.Dataset().GetRasterCount() != m_bandCount)
        throw RasterError("another file has taken its place since it was opened");
}

std::unique_ptr<KxImageData> OpenRaster::ReadTile(int level, int row, int col)
{
    if (LiveHolders::Instance().IsClosed() || !IsOnTile(level, row, col))
        return nullptr;
    const GdalScope scope;
    const DatasetPool::Loan loan(m_pool);
    RasterFile* file = loan.Get();
    if (file == nullptr)
        return nullptr;
    CheckIsSame(*file);
    const TileCentres centres = CentresOf(level, row, col);
    GDALDataset& chosen = file->Choose(FindReduction(*m_georeference, centres));
    const PixelMap map = MakePixelMap(*m_georeference, centres, m_size, SizeOf(chosen));
    return map.m_isEmpty ? nullptr : PaintTile(chosen, m_plan, map);
}

} // namespace KxC
