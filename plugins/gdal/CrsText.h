// SPDX-License-Identifier: MIT
#pragma once

#include "ProjHandles.h"

#include <string>

namespace KxC {

enum class CrsForm {
    Wkt,       ///< any dialect
    EsriPrj,   ///< the text of an ESRI .prj file
    Proj,      ///< a PROJ string
    Epsg,      ///< "4326" or "EPSG:4326"
    Authority, ///< "AUTHORITY:CODE"
};

/// A coordinate system as somebody wrote it.
struct CrsText
{
    CrsForm m_form;
    std::string m_text;
};

/// Longest text that is looked at, bytes.
inline constexpr std::size_t kMaxCrsText = 256 * 1024;

/// The coordinate system of a text.
/// @param error  on failure, what is wrong with the text and what would be right
/// @return null on failure
ProjObject MakeCrs(PJ_CONTEXT* context, const CrsText& crs, std::string& error);

/// The content of a .prj file.
/// @param error  filled when the file cannot be read or is no such file; the text is empty then
std::string ReadPrjFile(const std::string& path, std::string& error);

} // namespace KxC
