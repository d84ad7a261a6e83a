// SPDX-License-Identifier: MIT
#pragma once

#include "GdalHandles.h"
#include "KxImageData.h"
#include "KxRasterWriter.h"
#include "RasterShape.h"

#include <memory>
#include <string>

namespace KxC {

/// A raster that is filled block by block in a plain file and then copied into its final form.
/// Only within a GdalScope, the destructor too.
class StagedRaster
{
public:
    /// @param file  path of the plain file
    /// @return null when GDAL does not create it
    static std::unique_ptr<StagedRaster> Create(const std::string& file, const RasterShape& shape);

    /// As KxRasterWriter::WriteBlock.
    bool Write(int xFromWest, int yFromNorth, const KxImageData& block);

    /// Writes the Cloud Optimized GeoTIFF.
    /// @return false when it is not written, or `progress` gave up. Also what GDAL says while it
    /// closes the file is a failure: the disk may be full
    bool Copy(const std::string& file, KxRasterWriter::Progress progress, void* user);

private:
    StagedRaster() = default;

    bool WriteOpaque(int left, int top, int width, int height);

    DatasetHandle m_dataset;
};

} // namespace KxC
