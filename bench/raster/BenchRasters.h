// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace KxC::RasterBench {

/// Rasters for benchmarks, made of the Blue Marble where the file is there, else made up. They lie
/// in a folder that is removed at the end of the process.

/// 10800 x 5400 pixels of the world in EPSG:4326, tiled, with overviews.
const std::string& WorldRaster();
/// 4096 x 4096 pixels of 250 m in EPSG:32633, tiled, with overviews.
const std::string& UtmRaster();
/// Where the pixels come from, for a benchmark's label.
std::string Origin();

} // namespace KxC::RasterBench
