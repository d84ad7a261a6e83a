// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace KxC {

/// The GDAL driver of a file that may be read: a regular file of a usual raster format. A virtual
/// raster must be made of such files too, without end and without itself; one that names anything
/// else, such as an address, a program of its own or a file inside another, is refused. Only within
/// a GdalScope.
/// @param path  absolute
/// @throws RasterError when the file must not be read
std::string CheckRasterFile(const std::string& path);

} // namespace KxC
