// SPDX-License-Identifier: MIT
#pragma once

#include "KxRect2d.h"
#include "KxTSDParam.h"
#include "Secrets.h"
#include "serve/TileRequest.h"

#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace KxTileHost::Serve {

/// What is answered where a source has no tile.
enum class MissingTile { NotFound, NoContent, Blank };

/// What is known of a source.
struct SourceFacts
{
    enum class Kind { Service, History, Raster };
    /// Web Mercator's, degrees.
    static constexpr double kLastLatitude = 85.0511287798066;

    std::string m_id;
    std::string m_name;
    Kind m_kind = Kind::Service;
    std::string m_path;        ///< of the definition or raster; empty for those that have none
    unsigned m_generation = 0; ///< another one for each state of each source
    std::string m_error;       ///< why it cannot be served, or why its latest state is not
    bool m_isUsable = false;   ///< false: m_error is all that there is
    /// What a check of its definition finds, a line each with file, line and key.
    std::vector<std::string> m_findings;
    bool m_errorIsFound = false;     ///< m_error stands in m_findings, too
    bool m_isForbidden = false;      ///< its definition is not enabled
    std::string m_wantedEarthServer; ///< that it was refused; empty for none
    std::string m_attribution;
    std::string m_terms;
    int m_minLevel = 0;
    int m_maxLevel = kUnknownLast;
    KxC::KxRect2d m_bounds{-180.0, kLastLatitude, 180.0, -kLastLatitude}; ///< degrees, WGS 84
    MissingTile m_missing = MissingTile::NotFound;
    /// Format of what is served without an extension; Natural where that is not known beforehand.
    TileFormat m_format = TileFormat::Natural;
    std::shared_ptr<KxC::KxTSDParamItem> m_item; ///< null for rasters
    bool m_isPack = false;    ///< a raster that is stored as tiles of the standard tiling
    std::string m_outputName; ///< names its output tiles on disk; empty: they are not kept there
    Secrets m_secrets{""};
};

/// What the gateway serves under one name. Never changed once it is served; any thread.
class Source : public SourceFacts
{
public:
    Source() = default;
    explicit Source(const SourceFacts& facts) : SourceFacts(facts) {}

    /// Whether the source's own tiles of that size are the wanted ones.
    bool HandsOutOwnTiles(int size) const;
    /// The definition's record for a day of history imagery. A few are kept.
    std::shared_ptr<KxC::KxTSDParamItem> ItemOfDay(DayNumber day) const;

private:
    mutable std::mutex m_daysLock;
    mutable std::vector<std::pair<DayNumber, std::shared_ptr<KxC::KxTSDParamItem>>> m_days;
};

using SourcePtr = std::shared_ptr<const Source>;

} // namespace KxTileHost::Serve
