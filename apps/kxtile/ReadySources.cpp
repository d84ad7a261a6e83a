// SPDX-License-Identifier: MIT
#include "ReadySources.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <map>
#include <system_error>

namespace KxTileHost {

namespace {

namespace fs = std::filesystem;

/// The folder beside the program; in the build tree a link leads to the sources' own.
fs::path InstalledFolder()
{
    std::error_code error;
    const fs::path program = fs::read_symlink("/proc/self/exe", error);
    return (program.parent_path() / KXTILE_SOURCES_FROM_PROGRAM).lexically_normal();
}

void AddFolders(std::vector<fs::path>& folders, const std::string& list)
{
    for (std::size_t begin = 0; begin <= list.size();) {
        const std::size_t end = std::min(list.find(':', begin), list.size());
        if (end > begin)
            folders.emplace_back(list.substr(begin, end - begin));
        begin = end + 1;
    }
}

} // namespace

std::vector<fs::path> ReadySourceFolders()
{
    std::vector<fs::path> folders;
    // NOLINTNEXTLINE(concurrency-mt-unsafe): no other thread changes this program's environment
    if (const char* const list = std::getenv("KXTILE_SOURCES_PATH"))
        AddFolders(folders, list);
    else
        folders.push_back(InstalledFolder());
    return folders;
}

std::vector<ReadySource> ListReadySources()
{
    std::map<std::string, fs::path> byName;
    for (const fs::path& folder : ReadySourceFolders()) {
        std::error_code error;
        for (const fs::directory_entry& entry : fs::directory_iterator(folder, error))
            if (entry.path().extension() == ".toml" && entry.is_regular_file(error))
                byName.emplace(entry.path().stem().string(), entry.path());
    }
    std::vector<ReadySource> sources;
    for (const auto& [name, path] : byName)
        sources.push_back({name, path});
    return sources;
}

bool IsReadySourceName(const std::string& text)
{
    return !text.empty() && std::all_of(text.begin(), text.end(), [](unsigned char character) {
        return std::isalnum(character) != 0 || character == '-' || character == '_';
    });
}

std::optional<fs::path> FindReadySource(const std::string& name)
{
    for (const fs::path& folder : ReadySourceFolders()) {
        std::error_code error;
        const fs::path path = folder / (name + ".toml");
        if (fs::is_regular_file(path, error))
            return path;
    }
    return std::nullopt;
}

} // namespace KxTileHost
