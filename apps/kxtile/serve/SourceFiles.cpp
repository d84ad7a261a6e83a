// SPDX-License-Identifier: MIT
#include "serve/SourceFiles.h"

#include "KxDefinitionSources.h"
#include "KxTSDParam.h"
#include "SourceArgument.h"
#include "serve/Failure.h"
#include "serve/SourceLoader.h"

#include <fmt/format.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <system_error>

namespace KxTileHost::Serve {

namespace {

namespace fs = std::filesystem;

/// A folder that something fills without end must not keep the gateway from starting.
constexpr std::size_t kMostFilesOfFolder = 4096;

std::vector<std::string> FilesOf(const std::string& folder)
{
    std::vector<std::string> files;
    std::error_code error;
    fs::directory_iterator entries(folder, error);
    for (; !error && entries != fs::directory_iterator(); entries.increment(error)) {
        const std::string path = entries->path().string();
        std::error_code unreadable;
        const bool hidden = entries->path().filename().string().front() == '.';
        if (!hidden && entries->is_regular_file(unreadable) &&
            (IsDefinitionPath(path) || IsRasterPath(path)))
            files.push_back(path);
        if (files.size() >= kMostFilesOfFolder)
            break;
    }
    std::sort(files.begin(), files.end());
    return files;
}

/// The name of an entry that is chosen by its name or number.
std::string NameOfEntry(const std::string& file, const std::string& chosen)
{
    const std::vector<KxC::KxString> names = KxC::ListDefinitionSources(file.c_str());
    for (std::size_t i = 0; i < names.size(); ++i)
        if (names[i] == chosen.c_str())
            return chosen;
    for (std::size_t i = 0; i < names.size(); ++i)
        if (std::to_string(i + 1) == chosen && names[i].IsEmpty() == 0)
            return names[i].Cstr();
    return chosen;
}

/// What the address of a source is made of that a path names on its own: its file's name, or the
/// entry's that it chooses.
std::string NameOf(const std::string& path)
{
    if (SourceArgument(path).IsTemplate()) {
        const std::string host = HostOf(path);
        return host.substr(0, host.rfind(':'));
    }
    const std::string file = FileOf(path);
    return file == path ? fs::path(path).stem().string()
                        : NameOfEntry(file, path.substr(file.size() + 1));
}

/// Whether the file is a definition of one source now.
bool IsSingleDefinition(const std::string& file)
{
    KxC::KxTSDParamItem source;
    source.LoadFromTSDFile(file.c_str());
    const auto& messages = KxC::KxUtility::GetLastTSDMessages();
    return std::none_of(messages.begin(), messages.end(), [](const KxC::KxTSDMessage& message) {
        return message.m_bError;
    });
}

/// Entries are chosen by name; by number those whose name does not tell them from others.
std::vector<ListedSource> EntriesOf(const std::string& file, const std::vector<std::string>& names)
{
    std::set<std::string> taken;
    std::vector<ListedSource> entries;
    for (std::size_t i = 0; i < std::min(names.size(), SourceLists::kMostOfList); ++i) {
        const std::string number = std::to_string(i + 1);
        const std::string& name = names[i];
        const bool isOwn =
            !name.empty() && name.find('#') == std::string::npos && taken.insert(name).second;
        const bool isOthers =
            !isOwn && std::find(names.begin(), names.end(), number) != names.end();
        if (!isOthers)
            entries.push_back({file + "#" + (isOwn ? name : number), name.empty() ? number : name});
    }
    return entries;
}

std::vector<std::string> NamesIn(const std::string& file)
{
    std::vector<std::string> names;
    if (!SourceArgument(file).IsTemplate() && !IsTakenForRaster(file))
        for (const KxC::KxString& name : KxC::ListDefinitionSources(file.c_str()))
            names.emplace_back(name.Cstr());
    return names;
}

} // namespace

std::string FileOf(const std::string& path)
{
    std::error_code error;
    return fs::exists(path, error) ? path : path.substr(0, path.rfind('#'));
}

std::string WithoutFolders(const std::string& path)
{
    const std::string file = FileOf(path);
    return fs::path(file).filename().string() + path.substr(file.size());
}

std::string StampOf(const std::string& path)
{
    struct stat file = {};
    if (::stat(FileOf(SourceArgument(path).GetPath()).c_str(), &file) != 0)
        return "";
    return fmt::format(
        "{} {} {} {}", file.st_mtim.tv_sec, file.st_mtim.tv_nsec, file.st_size, file.st_ino);
}

std::vector<std::string> FindFiles(const std::vector<std::string>& named)
{
    std::vector<std::string> paths;
    for (const std::string& one : named) {
        std::error_code error;
        if (!fs::is_directory(one, error)) {
            paths.push_back(one);
            continue;
        }
        const auto files = FilesOf(one);
        paths.insert(paths.end(), files.begin(), files.end());
    }
    std::set<std::string> seen;
    std::erase_if(paths, [&](const std::string& path) { return !seen.insert(path).second; });
    return paths;
}

const SourceLists::List& SourceLists::Read(const std::string& file)
{
    const std::string stamp = StampOf(file);
    List& list = m_lists[file];
    list.m_isFresh = list.m_sources.empty() || list.m_stamp != stamp;
    if (!list.m_isFresh)
        return list;
    const std::vector<std::string> names = NamesIn(file);
    const bool wasList = !list.m_sources.empty() && list.m_sources.front().m_path != file;
    // One entry has the address that it keeps when others come, or go.
    const bool isNamed = std::any_of(
        names.begin(), names.end(), [](const std::string& name) { return !name.empty(); });
    if (names.size() > 1 || isNamed || (wasList && !names.empty())) {
        list.m_sources = EntriesOf(file, names);
        list.m_leftOut = names.size() - list.m_sources.size();
    } else if (!wasList || (!stamp.empty() && IsSingleDefinition(file))) {
        list.m_sources = {{file, NameOf(file)}};
        list.m_leftOut = 0;
    }
    list.m_stamp = stamp; // last: whatever is thrown above, the file is read again
    return list;
}

const SourceLists::List* SourceLists::Find(const std::string& file) const
{
    const auto found = m_lists.find(file);
    return found == m_lists.end() ? nullptr : &found->second;
}

} // namespace KxTileHost::Serve
