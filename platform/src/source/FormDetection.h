// SPDX-License-Identifier: MIT
#pragma once

#include <string_view>

namespace KxC {

enum class DefinitionForm { Toml, TileJson, GdalWms, Qgis, MapProxy, UnknownXml };

/// The form of a definition, told by what stands first in it: an XML document by its root, "{"
/// opens JSON, a key with a colon YAML; everything else is TOML, the library's own form.
DefinitionForm DetectForm(std::string_view text);

} // namespace KxC
