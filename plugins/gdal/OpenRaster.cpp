// SPDX-License-Identifier: MIT
#include "OpenRaster.h"

#include "FileCheck.h"
#include "GdalScope.h"
#include "KxMath.h"
#include "RasterError.h"
#include "Stretch.h"
#include "TilePainter.h"

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <vector>

namespace KxC {

namespace {

/// Each type once, in the order of the bands.
std::string BandTypesOf(GDALDataset& dataset)
{
    std::vector<GDALDataType> types;
    for (int band = 1; band <= dataset.GetRasterCount(); ++band) {
        const GDALDataType type = dataset.GetRasterBand(band)->GetRasterDataType();
        if (std::find(types.begin(), types.end(), type) == types.end())
            types.push_back(type);
    }
    std::string names;
    for (const GDALDataType type : types)
        names.append(names.empty() ? "" : " ").append(GDALGetDataTypeName(type));
    return names;
}

} // namespace

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
    m_bandTypes = BandTypesOf(dataset);
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
    m_levels = FindLevels(m_bounds.m_rect, pixel);
    FindStretch(file, m_plan);
}

void OpenRaster::DescribeTo(KxRasterDescription& description) const
{
    const RasterCrs& crs = m_georeference->Crs();
    description.m_nWidth = m_size.m_width;
    description.m_nHeight = m_size.m_height;
    description.m_nBands = m_bandCount;
    description.m_bCrsAssumed = crs.m_isAssumed;
    description.m_bAcrossAntimeridian = m_bounds.CrossesAntimeridian();
    description.m_dWest = m_bounds.m_west;
    description.m_dEast = m_bounds.m_east;
    description.m_strBandType = m_bandTypes.c_str();
    description.m_strCrsName = crs.m_name.c_str();
    if (LiveHolders::Instance().IsClosed())
        return;
    const GdalScope scope;
    description.m_nEpsg = FindEpsgCode(crs);
}

bool OpenRaster::IsOnTile(int level, int row, int col) const
{
    if (level < m_levels.m_min || level > m_levels.m_max || row < 0 || col < 0 ||
        row >= 1LL << level || col >= 1LL << level)
        return false;
    KxRect2d tile;
    KxMath::CalcTileBounds(tile, level, row, col);
    const KxRect2d& bounds = Bounds();
    return tile.m_dLeft < bounds.m_dRight && tile.m_dRight > bounds.m_dLeft &&
           tile.m_dBottom < bounds.m_dTop && tile.m_dTop > bounds.m_dBottom;
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
