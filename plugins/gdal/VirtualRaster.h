// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

namespace KxC {

/// A file that a virtual raster reads.
struct VirtualSource
{
    std::string m_path; ///< absolute
    double m_cost;      ///< pixels of it that are read for one of the virtual raster's, >= 1
};

/// The files that a virtual raster (GDAL's .vrt) reads.
/// @param path     absolute
/// @param sources  filled with each file as often as it stands there
/// @return false when the file does not parse, or asks for what is not done here: warping and
///         filters, which have no bound of their own; averages of parts that it does not name, or
///         of overviews far apart; sharing of sources; Python; anything but files
bool ListSources(const std::string& path, std::vector<VirtualSource>& sources);

} // namespace KxC
