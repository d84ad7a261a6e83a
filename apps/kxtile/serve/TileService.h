// SPDX-License-Identifier: MIT
#pragma once

#include "serve/Answer.h"
#include "serve/HttpRequest.h"
#include "serve/LruCache.h"
#include "serve/Metrics.h"
#include "serve/Source.h"
#include "serve/TileMaker.h"

#include <array>
#include <cstddef>
#include <memory>
#include <mutex>
#include <string>

namespace KxTileHost::Serve {

/// Answers for tiles: from what was made before, or by work. Any thread.
class TileService
{
public:
    struct Options
    {
        std::size_t m_memory = std::size_t{256} << 20; ///< bytes of encoded tiles
        int m_maxAgeSeconds = 3600;                    ///< that clients may keep tiles
        int m_timeoutMs = 0;                           ///< of each request; 0: the library's
    };

    /// @param metrics  must outlive the service
    TileService(const Options& options, Metrics& metrics);

    /// A tile of the standard tiling; the address must be one of the source's.
    Outcome Tile(const SourcePtr& source, const TileRequest& tile);
    /// The service's own tile.
    Outcome RawTile(const SourcePtr& source, const TileRequest& tile);

    std::size_t KeptBytes() const { return m_kept.Bytes(); }
    std::size_t KeptTiles() const { return m_kept.Count(); }

private:
    AnswerPtr Work(const Source& source, const TileRequest& tile);
    AnswerPtr WorkRaw(const Source& source, const TileRequest& tile) const;
    AnswerPtr FindAnswer(const Source& source, const TileRequest& tile);
    std::unique_ptr<KxC::KxRawData> FindNatural(const Source& source, const TileRequest& natural);
    MadeTile FindKept(const Source& source, const TileRequest& tile);
    MadeTile MakeAnew(const Source& source, const TileRequest& tile) const;
    void NoteUpstream(const Source& source, const MadeTile& made) const;
    void Keep(const TileKey& key, const Answer& made);
    AnswerPtr AnswerOf(MissingTile missing,
                       const TileRequest& tile,
                       MadeTile made,
                       double milliseconds) const;
    AnswerPtr AnswerMissing(MissingTile missing, const TileRequest& tile) const;
    const AnswerPtr& BlankAnswer(const TileRequest& tile) const;

    /// An answer that is made once, by whoever needs it first.
    struct MadeOnce
    {
        std::once_flag m_once;
        AnswerPtr m_answer;
    };
    static constexpr std::size_t kFormats = 4;

    const Options m_options;
    const std::string m_cacheControl;
    Metrics& m_metrics;
    LruCache<TileKey, AnswerPtr, TileKeyHash> m_kept;
    mutable std::array<MadeOnce, 2 * kFormats> m_blank; ///< of both sizes
};

} // namespace KxTileHost::Serve
