// SPDX-License-Identifier: MIT
#include "RasterError.h"

#include <cpl_error.h>

namespace KxC {

RasterError GdalError(const std::string& what)
{
    if (CPLGetLastErrorType() < CE_Failure)
        return RasterError(what);
    return RasterError(what + " (GDAL: " + CPLGetLastErrorMsg() + ")");
}

} // namespace KxC
