// SPDX-License-Identifier: MIT
#include "PluginFolders.h"

#include <dlfcn.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <string_view>
#include <system_error>

namespace KxC {

namespace {

namespace fs = std::filesystem;

/// A folder that something fills without end must not keep a host from starting.
constexpr int kMaxFolderEntries = 65536;

/// Has an address inside this library, by which the loader tells where it is.
const char kAnchor = 0;

std::vector<std::string> SplitPath(std::string_view text)
{
    std::vector<std::string> folders;
    while (!text.empty()) {
        const std::size_t length = std::min(text.find(':'), text.size());
        // An empty part would mean the current folder: whoever unpacks files there would be run.
        if (length > 0)
            folders.emplace_back(text.substr(0, length));
        text.remove_prefix(std::min(length + 1, text.size()));
    }
    return folders;
}

std::vector<std::string> InstalledFolder()
{
    Dl_info info = {};
    if (::dladdr(&kAnchor, &info) == 0 || info.dli_fname == nullptr)
        return {};
    return {(fs::path(info.dli_fname).parent_path() / "kxtile" / "plugins").string()};
}

bool IsPluginName(std::string_view name)
{
    return name.starts_with("Kx") && name.ends_with(".so");
}

} // namespace

std::vector<std::string> PluginFolders()
{
    // Not for programs that run with more rights than their caller: he would choose their code.
    // NOLINTNEXTLINE(concurrency-mt-unsafe): hosts set their environment before they start
    const char* path = ::secure_getenv("KXTILE_PLUGIN_PATH");
    return path != nullptr ? SplitPath(path) : InstalledFolder();
}

std::vector<std::string> PluginFilesIn(const std::string& folder)
{
    std::vector<std::string> files;
    std::error_code error;
    fs::directory_iterator entry(folder, error);
    for (int i = 0; !error && entry != fs::directory_iterator() && i < kMaxFolderEntries; ++i) {
        if (IsPluginName(entry->path().filename().native()))
            files.push_back(entry->path().native());
        entry.increment(error);
    }
    std::sort(files.begin(), files.end());
    return files;
}

} // namespace KxC
