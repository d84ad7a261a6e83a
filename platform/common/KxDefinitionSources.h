// SPDX-License-Identifier: MIT
#pragma once

#include "KxCommonExport.h"
#include "KxString.h"

#include <vector>

namespace KxC {

/// The names of the sources in a definition file that may hold several (a list of connections, a
/// MapProxy configuration), in the file's order: "#name" behind the path chooses one. Any thread.
/// @param path  of the file alone
/// @return none for other forms, and for a file that cannot be read
KXCOMMON_API std::vector<KxString> ListDefinitionSources(const KxString& path);

} // namespace KxC
