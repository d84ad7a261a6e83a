// SPDX-License-Identifier: MIT
#pragma once

#include "serve/Source.h"

#include <memory>
#include <string>
#include <vector>

namespace KxTileHost::Serve {

/// What is served when nothing is named: one picture of the world in every convention, and a
/// raster, all from this machine.
/// @param origin  kxorigin's address
std::vector<std::shared_ptr<Source>> MakeDefaultSources(const std::string& origin);

} // namespace KxTileHost::Serve
