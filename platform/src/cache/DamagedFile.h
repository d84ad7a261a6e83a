// SPDX-License-Identifier: MIT
#pragma once

#include "TileDatabase.h"

#include <string>

namespace KxC {

/// Renames the damaged file at `path`, with its journal files, to <path>.damaged-<n>, so that a
/// fresh one can be started. Of several processes that find the damage one does it.
/// @param database  the connection that found the damage; it is still open
/// @return false when the file is still there
bool SetDamagedFileAside(const std::string& path, const TileDatabase& database);

} // namespace KxC
