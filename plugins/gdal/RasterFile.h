// SPDX-License-Identifier: MIT
#pragma once

#include "GdalHandles.h"
#include "PixelMap.h"

#include <memory>
#include <string>
#include <vector>

namespace KxC {

RasterSize SizeOf(GDALDataset& dataset);

/// Bands that are decoded with each of a block's: all of them where their values alternate.
int BandsInBlock(GDALDataset& dataset);

/// An open raster and its overviews. Only within a GdalScope. Threads: one at a time.
class RasterFile
{
public:
    /// @param driver  the name that CheckRasterFile gave for the path
    /// @throws RasterError when it does not open, or its shape asks for more memory than a reader
    ///         may take
    static std::unique_ptr<RasterFile> Open(const std::string& path, const std::string& driver);

    GDALDataset& Dataset() { return *m_full; }

    /// The coarsest resolution whose pixels are not larger than `reduction` of the full one's.
    GDALDataset& Choose(double reduction);

private:
    /// One of the file's overviews, opened when it is first read.
    struct Overview
    {
        int m_index;
        int m_width;
        DatasetHandle m_dataset;
    };

    RasterFile(std::string path, std::string driver);

    /// @param overviewLevel  empty for the full resolution
    DatasetHandle OpenDataset(const std::string& overviewLevel) const;
    void ListOverviews();
    GDALDataset& DatasetOf(Overview& overview);

    std::string m_path;
    std::string m_driver;
    DatasetHandle m_full;
    std::vector<Overview> m_overviews;
};

} // namespace KxC
