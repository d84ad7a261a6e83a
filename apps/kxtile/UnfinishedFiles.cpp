// SPDX-License-Identifier: MIT
#include "UnfinishedFiles.h"

#include "KxFile.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstddef>
#include <filesystem>
#include <string_view>
#include <system_error>

namespace KxTileHost {

namespace {

constexpr std::string_view kStart(".kxtile-");
constexpr std::string_view kEnd(".tmp");

/// The process that a temporary file belongs to; 0 for any other file.
pid_t OwnerOf(std::string_view name)
{
    if (const auto dot = name.rfind('.'); dot != 0 && !name.ends_with(kEnd))
        name = name.substr(0, dot); // what is written in the format of its extension
    if (!name.starts_with(kStart) || !name.ends_with(kEnd))
        return 0;
    pid_t owner = 0;
    const auto read =
        std::from_chars(name.data() + kStart.size(), name.data() + name.size(), owner);
    const bool whole = read.ec == std::errc() && *read.ptr == '-' && owner > 0;
    return whole ? owner : 0;
}

void RemoveOwn(DIR* folder)
{
    const int descriptor = ::dirfd(folder);
    // NOLINTNEXTLINE(concurrency-mt-unsafe): only threads that share a folder's stream disturb it
    while (const dirent* entry = ::readdir(folder))
        if (OwnerOf(static_cast<const char*>(entry->d_name)) == ::getpid())
            ::unlinkat(descriptor, static_cast<const char*>(entry->d_name), 0);
}

bool IsGone(pid_t process)
{
    return ::kill(process, 0) != 0 && errno == ESRCH;
}

} // namespace

void RemoveUnfinishedForGood(const std::vector<std::string>& folders) noexcept
{
    constexpr std::size_t kMost = 64; // threads of a job
    std::array<DIR*, kMost> open{};
    const std::size_t count = std::min(folders.size(), kMost);
    for (std::size_t i = 0; i < count; ++i) {
        // A thread may be about to make it; then nothing would keep it from writing there.
        KxC::KxFile::MkDirEx(folders[i].c_str());
        open[i] = ::opendir(folders[i].c_str());
    }
    const rlimit none{0, 0};
    ::setrlimit(RLIMIT_NOFILE, &none);
    for (DIR* folder : open)
        if (folder != nullptr)
            RemoveOwn(folder);
}

void RemoveOrphans(const std::string& folder)
{
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
        const pid_t owner = OwnerOf(entry.path().filename().native());
        if (owner != 0 && IsGone(owner))
            std::filesystem::remove_all(entry.path(), error);
    }
}

} // namespace KxTileHost
