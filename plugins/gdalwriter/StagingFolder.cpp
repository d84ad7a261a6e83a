// SPDX-License-Identifier: MIT
#include "StagingFolder.h"

#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <filesystem>
#include <system_error>

namespace KxC {

namespace {

/// Hidden, and short: the file's own name may be as long as names can be. The process's number lets
/// programs that clean up tell what a killed one left behind.
std::string NextName()
{
    static std::atomic<unsigned int> s_last = 0;
    return ".kxtile-" + std::to_string(::getpid()) + '-' + std::to_string(++s_last) + ".tmp";
}

} // namespace

StagingFolder::StagingFolder(const std::string& path)
{
    constexpr int kMostTaken = 1000; // by one of the same number, killed long ago
    const std::filesystem::path parent = std::filesystem::absolute(path).parent_path();
    for (int i = 0; i < kMostTaken && !IsThere(); ++i) {
        const std::string folder = (parent / NextName()).string();
        if (::mkdir(folder.c_str(), 0700) == 0)
            m_folder = folder;
        else if (errno != EEXIST)
            return;
    }
}

StagingFolder::~StagingFolder()
{
    std::error_code error;
    if (IsThere())
        std::filesystem::remove_all(m_folder, error);
}

} // namespace KxC
