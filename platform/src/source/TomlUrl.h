// SPDX-License-Identifier: MIT
#pragma once

#include "Definition.h"
#include "DefinitionValues.h"

#include <string>

namespace KxC {

/// Reads the keys that make up the address: url, script and axis_order, together with what the
/// definition already holds of servers, rows and scheme.
/// @param folder  where script files are sought
void ReadTomlUrl(DefinitionValues& values, const std::string& folder, Definition& definition);

} // namespace KxC
