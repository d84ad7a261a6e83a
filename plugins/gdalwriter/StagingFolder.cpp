// SPDX-License-Identifier: MIT
#include "StagingFolder.h"

#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace KxC {

StagingFolder::StagingFolder(const std::string& path)
{
    // Hidden, and short: the file's own name may be as long as names can be.
    std::string pattern =
        (std::filesystem::absolute(path).parent_path() / ".kxtile-XXXXXX").string();
    if (::mkdtemp(pattern.data()) != nullptr)
        m_folder = pattern;
}

StagingFolder::~StagingFolder()
{
    std::error_code error;
    if (IsThere())
        std::filesystem::remove_all(m_folder, error);
}

} // namespace KxC
