// SPDX-License-Identifier: MIT
#include "serve/SourceFinder.h"

#include "Command.h"
#include "SourceArgument.h"
#include "serve/Failure.h"
#include "serve/SourceEarthServer.h"
#include "serve/SourceLoader.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace KxTileHost::Serve {

namespace {

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

/// As messages name it.
std::string ShownOf(const std::string& path)
{
    return SourceArgument(path).IsTemplate() ? HostOf(path) : path;
}

/// What is wrong with a source: the mistakes in its definition, and that it is not served for them.
void TellFaults(const Source& source, const std::string& shown, LoadReport& report)
{
    report.m_faults.insert(
        report.m_faults.end(), source.m_findings.begin(), source.m_findings.end());
    if (!source.m_error.empty())
        report.m_faults.push_back(fmt::format(
            "{}: {}", shown, source.m_errorIsFound ? "it cannot be served" : source.m_error));
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

std::vector<ListedSource> SourceFinder::FindSources(LoadReport& report)
{
    std::vector<ListedSource> sources;
    std::set<std::string> seen; // an entry may be named beside its list
    for (const std::string& file : FindFiles(m_named)) {
        const SourceLists::List& list = m_lists.Read(file);
        for (const ListedSource& listed : list.m_sources)
            if (seen.insert(listed.m_path).second && seen.size() <= kMostSources)
                sources.push_back(listed);
        if (list.m_isFresh && list.m_leftOut > 0)
            report.m_faults.push_back(
                fmt::format("{}: {} of its sources are not served: those beyond {}, and those "
                            "whose name is no name of their own",
                            file,
                            list.m_leftOut,
                            SourceLists::kMostOfList));
    }
    if (seen.size() > kMostSources)
        report.m_faults.push_back(fmt::format("{} sources are not served: those beyond {}",
                                              seen.size() - kMostSources,
                                              kMostSources));
    return sources;
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

/// One that says what it said before goes on as it was: what is kept of it stays good.
/// @return whether there is nothing to tell of it
bool SourceFinder::GoesOn(const Known& known, Source& loaded)
{
    const SourcePtr& before = known.m_source;
    if (before == nullptr || loaded.m_outputName.empty() ||
        before->m_outputName != loaded.m_outputName)
        return false;
    loaded.m_generation = before->m_generation;
    return before->m_error == loaded.m_error;
}

SourcePtr SourceFinder::LoadOne(Known& known, const std::string& path, LoadReport& report)
{
    const std::string stamp = StampOf(path);
    if (IsStill(known, stamp))
        return known.m_source;
    std::shared_ptr<Source> loaded = LoadSource(path, known.m_id);
    loaded->m_missing = m_missing.For(known.m_id);
    known.m_stamp = stamp;
    NoteRaster(known, *loaded);
    const bool keeps = known.m_source != nullptr && known.m_source->m_isUsable &&
                       !loaded->m_isUsable && !loaded->m_isForbidden;
    if (!keeps && (!loaded->m_isUsable || loaded->m_kind != Source::Kind::History))
        ForgetEarthServer(known.m_id);
    const bool isAsBefore = GoesOn(known, *loaded);
    known.m_source = keeps ? KeepServing(*known.m_source, *loaded) : loaded;
    TellFaults(*loaded, ShownOf(path), report);
    if (keeps)
        report.m_changes.push_back(ShownOf(path) + ": its state of before is still served");
    else if (loaded->m_error.empty() && !isAsBefore)
        report.m_changes.push_back(fmt::format("{}: served as /{}/", ShownOf(path), known.m_id));
    return known.m_source;
}

/// One that went keeps its name, should it come back.
void SourceFinder::DropGone(const std::set<std::string>& present, LoadReport& report)
{
    for (auto& [path, known] : m_known)
        if (present.count(path) == 0 && known.m_source != nullptr) {
            known.m_source = nullptr;
            ForgetEarthServer(known.m_id);
            report.m_changes.push_back(fmt::format("{}: gone, no longer served", ShownOf(path)));
        }
}

std::vector<SourcePtr> SourceFinder::Load(LoadReport& report)
{
    std::vector<SourcePtr> sources = m_builtIn;
    if (!std::exchange(m_builtInAreTold, true))
        for (const SourcePtr& source : m_builtIn)
            TellFaults(*source, source->m_id, report);
    std::set<std::string> present;
    for (const ListedSource& listed : FindSources(report)) {
        Known& known = m_known[listed.m_path];
        if (known.m_id.empty())
            known.m_id = m_ids.Take(listed.m_name);
        sources.push_back(LoadOne(known, listed.m_path, report));
        present.insert(listed.m_path);
    }
    DropGone(present, report);
    CheckRules();
    return sources;
}

bool SourceFinder::HasChanged() const
{
    std::set<std::string> present;
    for (const std::string& file : FindFiles(m_named)) {
        const std::string stamp = StampOf(file);
        const SourceLists::List* const list = m_lists.Find(file);
        if (list == nullptr || list->m_stamp != stamp)
            return true;
        for (const ListedSource& listed : list->m_sources) {
            if (present.size() == kMostSources)
                break;
            const auto known = m_known.find(listed.m_path);
            if (known == m_known.end() || !IsStill(known->second, stamp))
                return true;
            present.insert(listed.m_path);
        }
    }
    return present.size() != static_cast<std::size_t>(std::count_if(
                                 m_known.begin(), m_known.end(), [](const auto& entry) {
                                     return entry.second.m_source != nullptr;
                                 }));
}

} // namespace KxTileHost::Serve
