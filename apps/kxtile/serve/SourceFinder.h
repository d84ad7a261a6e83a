// SPDX-License-Identifier: MIT
#pragma once

#include "serve/Source.h"
#include "serve/SourceFiles.h"
#include "serve/SourceId.h"

#include <map>
#include <set>
#include <string>
#include <vector>

namespace KxTileHost::Serve {

/// How missing tiles are answered, as the command line says.
struct MissingRules
{
    MissingTile m_default = MissingTile::NotFound;
    std::map<std::string, MissingTile> m_bySource;
    bool m_mayComeLater = false; ///< a source that a rule names may be found later only

    /// Reads "204", or "id=blank".
    /// @throws CommandError (wrong usage) for anything else
    void Add(const std::string& text);
    MissingTile For(const std::string& id) const;
};

/// What there is to tell whoever runs the gateway, a line each.
struct LoadReport
{
    std::vector<std::string> m_faults;  ///< of what was loaded: mistakes, and why it is not served
    std::vector<std::string> m_changes; ///< what is served, or no longer
};

/// Finds what was named on the command line, and looks again for what became of it. For one thread
/// at a time.
class SourceFinder
{
public:
    /// Folders of long lists must not keep the gateway from starting.
    static constexpr std::size_t kMostSources = 4096;

    /// @param named  definitions, folders and rasters
    SourceFinder(std::vector<std::string> named, MissingRules missing);

    /// Loads everything that is new or another than the last time. A definition that is broken now
    /// keeps its state of before, and says what is wrong.
    /// @param report  receives what there is to tell; what it holds stays
    /// @return all sources in their order
    /// @throws CommandError (wrong usage) for a rule that names no source
    std::vector<SourcePtr> Load(LoadReport& report);

    /// Whether Load would find something else. Cheap: looks at files' times and sizes only.
    bool HasChanged() const;

    /// The ones that come along, before any that are found.
    void Add(const std::shared_ptr<Source>& source);

private:
    struct Known
    {
        std::string m_id;
        std::string m_stamp;
        std::string m_opened; ///< the stamp that a raster was first opened with
        SourcePtr m_source;
    };
    static bool IsStill(const Known& known, const std::string& stamp);
    static bool GoesOn(const Known& known, Source& loaded);
    static void NoteRaster(Known& known, Source& loaded);
    std::vector<ListedSource> FindSources(LoadReport& report);
    void DropGone(const std::set<std::string>& present, LoadReport& report);
    void CheckRules() const;
    SourcePtr LoadOne(Known& known, const std::string& path, LoadReport& report);

    std::vector<std::string> m_named;
    MissingRules m_missing;
    SourceIds m_ids;
    SourceLists m_lists;
    std::vector<SourcePtr> m_builtIn;
    bool m_builtInAreTold = false;
    std::map<std::string, Known> m_known; ///< by path
};

} // namespace KxTileHost::Serve
