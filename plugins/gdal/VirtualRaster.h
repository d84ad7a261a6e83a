// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

namespace KxC {

/// The files that a virtual raster (GDAL's .vrt) reads, as absolute paths.
/// @param path     absolute
/// @param sources  filled with each name as often as it stands there
/// @return false when the file does not parse, or asks for what is not done here: warping, which
///         has no bound of its own; sharing of sources; Python; anything but files
bool ListSources(const std::string& path, std::vector<std::string>& sources);

} // namespace KxC
