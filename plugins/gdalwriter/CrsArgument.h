// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace KxC {

enum class CrsDialect {
    Wkt2, ///< for files
    Esri, ///< for .prj files
};

/// A coordinate system in another dialect.
/// @param crs    as a host wrote it; null counts as empty
/// @param form   KxECrsForm
/// @param error  on failure, what is wrong with the text
/// @return empty on failure
std::string RewriteCrs(const char* crs, int form, CrsDialect dialect, std::string& error);

} // namespace KxC
