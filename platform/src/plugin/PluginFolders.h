// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

namespace KxC {

/// The folders that plug-ins are looked for in, in order: those of $KXTILE_PLUGIN_PATH where that
/// is set, be it empty, else <folder of libKxCommon>/kxtile/plugins.
std::vector<std::string> PluginFolders();

/// Paths of the files "Kx*.so" of a folder, sorted by name. A folder that is missing or cannot be
/// read has none.
std::vector<std::string> PluginFilesIn(const std::string& folder);

} // namespace KxC
