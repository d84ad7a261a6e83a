// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace KxTileHost {

/// What a user can do about an HTTP status; empty where there is nothing to say.
std::string HintForStatus(int status);

} // namespace KxTileHost
