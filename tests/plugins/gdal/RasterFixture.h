// SPDX-License-Identifier: MIT
#pragma once

#include "KxRasterDataAccessor.h"

#include <gdal_priv.h>

#include <array>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace KxC::Test {

constexpr int kSide = 256;

using Rgba = std::array<int, 4>;

/// What to write; GDAL writes it.
struct RasterSpec
{
    int m_width = 64;
    int m_height = 64;
    int m_bands = 3;
    GDALDataType m_type = GDT_Byte;
    std::string m_crs = "EPSG:4326"; ///< empty for none
    /// Value of a pixel; without, the three bands say which column and row it is.
    std::function<double(int band, int column, int row)> m_value;
    std::optional<std::array<double, 6>> m_transform; ///< GDAL's six numbers
    std::string m_driver = "GTiff";
    std::vector<std::string> m_options;       ///< for creation, as "TILED=YES"
    std::function<void(GDALDataset&)> m_more; ///< before the pixels are written
    std::vector<int> m_overviews;
};

/// The colour that the bands of a pixel have where no others are asked for.
Rgba PlaceColour(int column, int row);

void WriteRaster(const std::string& path, const RasterSpec& spec);

/// A six-number transform of an upright raster, from its north-west corner.
std::array<double, 6> Upright(double west, double north, double pixelWidth, double pixelHeight);

/// The accessor by which the plug-in manager reads the file; null when it does not open.
std::unique_ptr<KxRasterDataAccessor> OpenedRaster(const std::string& path);

/// A tile as it was read. Rows count from the south.
class Tile
{
public:
    Tile(KxRasterDataAccessor& accessor, int level, int row, int col);

    bool IsThere() const { return m_image != nullptr; }
    int PixelSize() const { return IsThere() ? m_image->GetPixelSize() : 0; }
    /// Transparent where there is no tile, opaque in a tile without alpha.
    Rgba At(int row, int column) const;
    int VisiblePixels() const;

private:
    std::unique_ptr<KxImageData> m_image;
};

/// Bounds and levels in words of the geographic square grid.
struct Grid
{
    static double TileDegrees(int level);
    static int Column(int level, double longitude);
    static int Row(int level, double latitude);
};

} // namespace KxC::Test
