// SPDX-License-Identifier: MIT
#pragma once

#include "KxRasterDataAccessor.h"

#include <memory>
#include <string>

namespace KxC::Test {

/// A fresh projection object of the real plug-in, as a transform obtains it. The first call decides
/// for the process where plug-ins are looked for.
std::unique_ptr<KxRasterDataAccessor> NewAccessor();

/// Makes plug-ins be looked for in the folder of the built one.
void UseBuiltPlugin();

/// The definitions of some systems, as `projinfo --single-line -q -o <dialect> <code>` prints them.
extern const std::string kUtm33Wkt2;   ///< WKT2:2019 EPSG:32633, without its usage
extern const std::string kUtm33Esri;   ///< WKT1_ESRI EPSG:32633
extern const std::string kPolarWkt1;   ///< WKT1_GDAL EPSG:3413
extern const std::string kLambertEsri; ///< WKT1_ESRI EPSG:2154

} // namespace KxC::Test
