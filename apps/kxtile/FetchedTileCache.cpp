// SPDX-License-Identifier: MIT
#include "FetchedTileCache.h"

#include "KxFile.h"

#include <fmt/format.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <filesystem>
#include <string>
#include <system_error>

namespace KxTileHost {

namespace {

std::atomic<bool> s_isUnwritable{false};

bool TakesAFile(const std::string& folder)
{
    // Named like the files that are removed when their process is gone.
    const std::string path = fmt::format("{}/.kxtile-{}-probe.tmp", folder, ::getpid());
    constexpr unsigned char kAnything = 0;
    KxC::KxFile::MkDirEx(folder.c_str());
    const bool taken = KxC::KxFile::SaveWhole(path.c_str(), &kAnything, 1) != 0;
    std::error_code error;
    std::filesystem::remove(path, error);
    return taken;
}

} // namespace

bool IsDiskCacheWritable()
{
    static const bool s_takesAFile = [] {
        const bool taken = TakesAFile(KxC::KxFile::m_strAppCachePath.Cstr());
        if (!taken)
            NoteDiskCacheUnwritable();
        return taken;
    }();
    return s_takesAFile && !s_isUnwritable.load(std::memory_order_relaxed);
}

void NoteDiskCacheUnwritable()
{
    if (!s_isUnwritable.exchange(true))
        fmt::print(stderr,
                   "kxtile: warning: the disk cache in '{}' cannot be written; see --cache-dir\n",
                   KxC::KxFile::m_strAppCachePath.Cstr());
}

} // namespace KxTileHost
