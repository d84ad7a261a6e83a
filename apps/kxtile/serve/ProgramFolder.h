// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>

namespace KxTileHost::Serve {

/// The folder that this program lies in.
std::filesystem::path ProgramFolder();

} // namespace KxTileHost::Serve
