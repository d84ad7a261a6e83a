// SPDX-License-Identifier: MIT
#pragma once

#include "StoredSource.h"

#include <memory>

namespace KxC::RetrievalBench {

/// The same output tile by GDAL's warper: source tiles as one raster in memory, nearest pixels,
/// its usual tolerance of an eighth of a pixel.
class GdalWarp
{
public:
    /// @param scheme  3, 4, 6, 9, 10 or 13; Baidu's plane as the Mercator projection near to it
    GdalWarp(const StoredSource& source, int scheme, int level, int x, int y, int z, int size);
    ~GdalWarp();
    GdalWarp(const GdalWarp&) = delete;
    GdalWarp& operator=(const GdalWarp&) = delete;

    /// @return false when GDAL fails
    bool Run();

private:
    struct Rasters;
    std::unique_ptr<Rasters> m_rasters;
};

} // namespace KxC::RetrievalBench
