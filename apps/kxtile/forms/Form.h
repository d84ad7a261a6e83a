// SPDX-License-Identifier: MIT
/// The forms in which a tile source can be written for other programs, and what they cannot say.
#pragma once

#include "KxTSDParam.h"

#include <string>
#include <vector>

namespace KxTileHost {

/// A source in some form, and what of it went lost.
struct FormText
{
    std::string m_text;
    std::vector<std::string> m_losses;
};

/// Each writes a source in one form.
/// @throws CommandError where the form cannot say what the source needs, naming all of it
FormText WriteToml(const KxC::KxTSDParamItem& source);
FormText WriteTileJson(const KxC::KxTSDParamItem& source);
/// For GDAL's WMS driver, which reads tiles too.
FormText WriteGdalXml(const KxC::KxTSDParamItem& source);
/// XYZ connections as QGIS exports and imports them.
FormText WriteQgisXml(const KxC::KxTSDParamItem& source);
/// Several connections in one list.
FormText WriteQgisXml(const std::vector<const KxC::KxTSDParamItem*>& sources);

} // namespace KxTileHost
