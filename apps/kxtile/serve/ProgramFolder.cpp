// SPDX-License-Identifier: MIT
#include "serve/ProgramFolder.h"

#include <system_error>

namespace KxTileHost::Serve {

std::filesystem::path ProgramFolder()
{
    std::error_code error;
    return std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
}

} // namespace KxTileHost::Serve
