// SPDX-License-Identifier: MIT
#include "RasterFile.h"

#include "RasterError.h"

#include <algorithm>
#include <cmath>
#include <string_view>

namespace KxC {

namespace {

constexpr int kMaxOverviews = 32;
constexpr int kMaxBands = 65536;
/// Bytes of a block, with the bands that are decoded with it: the least that can be read.
constexpr double kMaxBlock = 256.0 * 1024 * 1024;

bool IsBlockFair(GDALRasterBand& band, int bands)
{
    int width = 0;
    int height = 0;
    band.GetBlockSize(&width, &height);
    const double bytes = GDALGetDataTypeSizeBytes(band.GetRasterDataType());
    return width > 0 && height > 0 && bytes > 0 && bytes * bands * width * height <= kMaxBlock;
}

bool IsShapeFair(GDALDataset& dataset)
{
    const int bands = dataset.GetRasterCount();
    return dataset.GetRasterXSize() > 0 && dataset.GetRasterYSize() > 0 && bands > 0 &&
           bands <= kMaxBands && IsBlockFair(*dataset.GetRasterBand(1), BandsInBlock(dataset));
}

/// A raster can name any file as the one that holds its overviews, in its metadata. One beside it
/// is what GDAL itself writes there.
bool BorrowsOverviews(GDALDataset& dataset)
{
    constexpr std::string_view kBeside = ":::BASE:::";
    const char* name = dataset.GetMetadataItem("OVERVIEW_FILE", "OVERVIEWS");
    if (name == nullptr)
        return false;
    const std::string_view file(name);
    return !file.starts_with(kBeside) ||
           file.find_first_of("/:<", kBeside.size()) != std::string_view::npos;
}

/// True when every band has the overview, in one shape, which is that of the raster, smaller.
bool IsOverviewSound(GDALDataset& dataset, int index)
{
    GDALRasterBand* first = dataset.GetRasterBand(1)->GetOverview(index);
    if (first == nullptr || first->GetXSize() < 1 || first->GetYSize() < 1 ||
        !IsBlockFair(*first, BandsInBlock(dataset)))
        return false;
    for (int band = 2; band <= dataset.GetRasterCount(); ++band) {
        GDALRasterBand* other = dataset.GetRasterBand(band)->GetOverview(index);
        if (other == nullptr || other->GetXSize() != first->GetXSize() ||
            other->GetYSize() != first->GetYSize())
            return false;
    }
    const double across = static_cast<double>(dataset.GetRasterXSize()) / first->GetXSize();
    const double down = static_cast<double>(dataset.GetRasterYSize()) / first->GetYSize();
    // Small overviews are rounded to whole pixels: half of 3 is 2.
    const double slack = std::max({0.1, 1.5 / first->GetXSize(), 1.5 / first->GetYSize()});
    return across >= 1 && down >= 1 && std::abs(across / down - 1) <= slack;
}

} // namespace

RasterSize SizeOf(GDALDataset& dataset)
{
    return {dataset.GetRasterXSize(), dataset.GetRasterYSize()};
}

int BandsInBlock(GDALDataset& dataset)
{
    const char* order = dataset.GetMetadataItem("INTERLEAVE", "IMAGE_STRUCTURE");
    return order != nullptr && EQUAL(order, "PIXEL") ? dataset.GetRasterCount() : 1;
}

RasterFile::RasterFile(std::string path, std::string driver)
    : m_path(std::move(path)), m_driver(std::move(driver))
{
}

std::unique_ptr<RasterFile> RasterFile::Open(const std::string& path, const std::string& driver)
{
    std::unique_ptr<RasterFile> file(new RasterFile(path, driver));
    file->m_full = file->OpenDataset("");
    if (file->m_full == nullptr)
        throw GdalError("it cannot be opened");
    if (BorrowsOverviews(*file->m_full))
        throw RasterError("it names a file elsewhere as that of its overviews");
    if (!IsShapeFair(*file->m_full))
        throw RasterError("it has no pixels, or blocks too large to be read; write it anew in "
                          "tiles of 256 or 512 pixels");
    file->ListOverviews();
    return file;
}

DatasetHandle RasterFile::OpenDataset(const std::string& overviewLevel) const
{
    const char* const drivers[] = {m_driver.c_str(), nullptr};
    const std::string level = "OVERVIEW_LEVEL=" + overviewLevel;
    const char* const options[] = {level.c_str(), nullptr};
    return DatasetHandle(
        GDALDataset::Open(m_path.c_str(),
                          GDAL_OF_RASTER | GDAL_OF_READONLY | GDAL_OF_VERBOSE_ERROR,
                          drivers,
                          overviewLevel.empty() ? nullptr : options,
                          nullptr));
}

void RasterFile::ListOverviews()
{
    const int count = std::min(m_full->GetRasterBand(1)->GetOverviewCount(), kMaxOverviews);
    for (int i = 0; i < count; ++i)
        if (IsOverviewSound(*m_full, i))
            m_overviews.push_back({i, m_full->GetRasterBand(1)->GetOverview(i)->GetXSize(), {}});
}

GDALDataset& RasterFile::Choose(double reduction)
{
    constexpr double kRounding = 1.01; // overviews of odd sizes are a trifle larger than half
    const double fullWidth = m_full->GetRasterXSize();
    Overview* chosen = nullptr;
    for (Overview& overview : m_overviews)
        if (fullWidth / overview.m_width <= reduction * kRounding &&
            (chosen == nullptr || overview.m_width < chosen->m_width))
            chosen = &overview;
    return chosen != nullptr ? DatasetOf(*chosen) : *m_full;
}

GDALDataset& RasterFile::DatasetOf(Overview& overview)
{
    if (overview.m_dataset == nullptr)
        overview.m_dataset = OpenDataset(std::to_string(overview.m_index) + "only");
    const bool isSame = overview.m_dataset != nullptr &&
                        overview.m_dataset->GetRasterXSize() == overview.m_width &&
                        overview.m_dataset->GetRasterCount() == m_full->GetRasterCount();
    return isSame ? *overview.m_dataset : *m_full;
}

} // namespace KxC
