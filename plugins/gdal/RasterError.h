// SPDX-License-Identifier: MIT
#pragma once

#include <stdexcept>
#include <string>

namespace KxC {

/// Why a raster cannot be opened, or a tile of it not be read, for people.
struct RasterError : std::runtime_error
{
    using std::runtime_error::runtime_error;
};

/// With what GDAL had to say about it. Only within a GdalScope.
RasterError GdalError(const std::string& what);

} // namespace KxC
