// SPDX-License-Identifier: MIT
#include "serve/SourceFinder.h"

#include "Command.h"
#include "SourceArgument.h"
#include "serve/Failure.h"
#include "serve/SourceEarthServer.h"
#include "serve/SourceLoader.h"

#include <fmt/format.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <set>

namespace KxTileHost::Serve {

namespace {

namespace fs = std::filesystem;

/// A folder that something fills without end must not keep the gateway from starting.
constexpr std::size_t kMostFilesOfFolder = 4096;

MissingTile ReadRule(const std::string& text, const std::string& whole)
{
    if (text == "404")
        return MissingTile::NotFound;
    if (text == "204")
        return MissingTile::NoContent;
    if (text == "blank")
        return MissingTile::Blank;
    throw CommandError(kExitWrongUsage,
                       fmt::format("'--missing {}' is no way to answer for a missing tile", whole),
                       "Write 404, 204 or blank; for one source its name in front, as in "
                       "--missing osm=blank.");
}

/// Times, size and number of a file; another one after every change of it.
std::string StampOf(const std::string& path)
{
    struct stat file = {};
    std::string target = SourceArgument(path).GetPath();
    if (::stat(target.c_str(), &file) != 0)
        target.resize(std::min(target.rfind('#'), target.size()));
    if (::stat(target.c_str(), &file) != 0)
        return "";
    return fmt::format(
        "{} {} {} {}", file.st_mtim.tv_sec, file.st_mtim.tv_nsec, file.st_size, file.st_ino);
}

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

std::string NameForId(const std::string& path)
{
    const SourceArgument argument(path);
    if (!argument.IsTemplate())
        return fs::path(path).stem().string();
    const std::string host = HostOf(path);
    return host.substr(0, host.rfind(':'));
}

/// As messages name it.
std::string ShownOf(const std::string& path)
{
    return SourceArgument(path).IsTemplate() ? HostOf(path) : path;
}

std::string DescribeChange(const Source& loaded, bool keeps)
{
    if (loaded.m_error.empty())
        return fmt::format("served as /{}/", loaded.m_id);
    return loaded.m_error + (keeps ? "; its state of before is still served" : "");
}

/// What was served before, with what is wrong with its file now.
SourcePtr KeepServing(const Source& before, const Source& now)
{
    auto kept = std::make_shared<Source>(static_cast<const SourceFacts&>(before));
    kept->m_error = now.m_error;
    kept->m_wantedEarthServer = now.m_wantedEarthServer;
    return kept;
}

} // namespace

void MissingRules::Add(const std::string& text)
{
    const std::size_t equals = text.find('=');
    if (equals == std::string::npos)
        m_default = ReadRule(text, text);
    else
        m_bySource[text.substr(0, equals)] = ReadRule(text.substr(equals + 1), text);
}

MissingTile MissingRules::For(const std::string& id) const
{
    const auto found = m_bySource.find(id);
    return found == m_bySource.end() ? m_default : found->second;
}

SourceFinder::SourceFinder(std::vector<std::string> named, MissingRules missing)
    : m_named(std::move(named)), m_missing(std::move(missing))
{
}

void SourceFinder::Add(const std::shared_ptr<Source>& source)
{
    source->m_id = m_ids.Take(source->m_id);
    source->m_missing = m_missing.For(source->m_id);
    m_builtIn.push_back(source);
}

std::vector<std::string> SourceFinder::FindPaths() const
{
    std::vector<std::string> paths;
    for (const std::string& named : m_named) {
        std::error_code error;
        if (!fs::is_directory(named, error)) {
            paths.push_back(named);
            continue;
        }
        const auto files = FilesOf(named);
        paths.insert(paths.end(), files.begin(), files.end());
    }
    std::set<std::string> seen;
    paths.erase(std::remove_if(paths.begin(),
                               paths.end(),
                               [&](const std::string& path) { return !seen.insert(path).second; }),
                paths.end());
    return paths;
}

void SourceFinder::CheckRules() const
{
    for (const auto& [id, rule] : m_missing.m_bySource)
        if (!m_missing.m_mayComeLater && !m_ids.IsTaken(id))
            throw CommandError(kExitWrongUsage,
                               fmt::format("--missing names '{}', and there is no such source", id),
                               "Write the source's name as it stands in addresses.");
}

/// Whether there is nothing to be loaded again.
bool SourceFinder::IsStill(const Known& known, const std::string& stamp)
{
    if (known.m_source == nullptr || known.m_stamp != stamp)
        return false;
    const std::string& wanted = known.m_source->m_wantedEarthServer;
    return wanted.empty() || !MayAskEarthServer(known.m_id, wanted);
}

/// An opened raster stays open as it was, so that what is cut from it is nothing of a changed
/// file: nothing of it may be kept under that one's name.
void SourceFinder::NoteRaster(Known& known, Source& loaded)
{
    if (loaded.m_kind != Source::Kind::Raster || !loaded.m_isUsable)
        return;
    if (known.m_opened.empty())
        known.m_opened = known.m_stamp;
    if (known.m_opened == known.m_stamp)
        return;
    loaded.m_outputName.clear();
    loaded.m_error = "the raster has changed since it was opened; what is served is the one of "
                     "before, until the gateway is started again";
}

SourcePtr
SourceFinder::LoadOne(Known& known, const std::string& path, std::vector<std::string>* changes)
{
    const std::string stamp = StampOf(path);
    if (IsStill(known, stamp))
        return known.m_source;
    known.m_stamp = stamp;
    std::shared_ptr<Source> loaded = LoadSource(path, known.m_id);
    loaded->m_missing = m_missing.For(known.m_id);
    NoteRaster(known, *loaded);
    const bool keeps = known.m_source != nullptr && known.m_source->m_isUsable &&
                       !loaded->m_isUsable && !loaded->m_isForbidden;
    if (!keeps && (!loaded->m_isUsable || loaded->m_kind != Source::Kind::History))
        ForgetEarthServer(known.m_id);
    if (changes != nullptr)
        changes->push_back(ShownOf(path) + ": " + DescribeChange(*loaded, keeps));
    known.m_source = keeps ? KeepServing(*known.m_source, *loaded) : loaded;
    return known.m_source;
}

std::vector<SourcePtr> SourceFinder::Load(std::vector<std::string>* changes)
{
    std::vector<SourcePtr> sources = m_builtIn;
    std::set<std::string> present;
    for (const std::string& path : FindPaths()) {
        Known& known = m_known[path];
        if (known.m_id.empty())
            known.m_id = m_ids.Take(NameForId(path));
        sources.push_back(LoadOne(known, path, changes));
        present.insert(path);
    }
    // One that went keeps its name, should it come back.
    for (auto& [path, known] : m_known)
        if (present.count(path) == 0 && known.m_source != nullptr) {
            known.m_source = nullptr;
            ForgetEarthServer(known.m_id);
            if (changes != nullptr)
                changes->push_back(fmt::format("{}: gone, no longer served", ShownOf(path)));
        }
    CheckRules();
    return sources;
}

bool SourceFinder::HasChanged() const
{
    std::size_t present = 0;
    for (const std::string& path : FindPaths()) {
        const auto known = m_known.find(path);
        if (known == m_known.end() || !IsStill(known->second, StampOf(path)))
            return true;
        ++present;
    }
    return present != static_cast<std::size_t>(
                          std::count_if(m_known.begin(), m_known.end(), [](const auto& entry) {
                              return entry.second.m_source != nullptr;
                          }));
}

} // namespace KxTileHost::Serve
