// SPDX-License-Identifier: MIT
#pragma once

#include "BandPlan.h"
#include "DatasetPool.h"
#include "EarthBounds.h"
#include "Georeference.h"
#include "KxImageData.h"
#include "KxRasterDescription.h"
#include "KxRect2d.h"
#include "LevelRange.h"

#include <memory>
#include <string>

namespace KxC {

/// A raster as tiles of the geographic square grid. Any thread.
class OpenRaster
{
public:
    /// @return null at the end of the process, when nothing is read any more
    /// @throws RasterError when the file is no raster that may be read, or has no place on the
    ///         earth
    static std::unique_ptr<OpenRaster> Open(const std::string& path);

    bool IsGeographic() const { return m_georeference->IsGeographic(); }
    const KxRect2d& Bounds() const { return m_bounds.m_rect; }
    const LevelRange& Levels() const { return m_levels; }

    /// Fills what is known.
    void DescribeTo(KxRasterDescription& description) const;

    /// @return null when there is nothing on the tile
    /// @throws RasterError when it cannot be read
    std::unique_ptr<KxImageData> ReadTile(int level, int row, int col);

private:
    OpenRaster(const std::string& path, const std::string& driver) : m_pool(path, driver) {}

    /// @throws RasterError
    void Describe(RasterFile& file, const std::string& path);
    void CheckIsSame(RasterFile& file) const;
    bool IsOnTile(int level, int row, int col) const;

    DatasetPool m_pool;
    std::unique_ptr<Georeference> m_georeference;
    BandPlan m_plan;
    RasterSize m_size = {};
    int m_bandCount = 0;
    std::string m_bandTypes; ///< as KxRasterDescription has them
    EarthBounds m_bounds;
    LevelRange m_levels;
};

} // namespace KxC
