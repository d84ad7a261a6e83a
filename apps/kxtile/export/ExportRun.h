// SPDX-License-Identifier: MIT
#pragma once

#include "EarlierArchive.h"
#include "TileSink.h"
#include "jobs/JobArguments.h"
#include "jobs/StopSignals.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

namespace KxTileHost {

enum class ExportForm { MbTiles, PmTiles, GeoTiff };

struct ExportArguments
{
    JobArguments m_job;
    std::string m_output;
    std::string m_name;
    std::string m_attribution;
    bool m_overwrite = false;
    bool m_resume = false;
    bool m_otherSource = false; ///< than the one whose tiles the file has
};

/// What an export does once it knows that it may: tiles come into the file, and the file gets its
/// name, or it is told why not.
class ExportRun
{
public:
    /// All must outlive this.
    ExportRun(const GlobalOptions& options,
              const ExportArguments& arguments,
              const TileOrigin& origin,
              const TileList& tiles,
              ExportForm form);

    /// @param earlier  null for a new file
    /// @throws CommandError unless all tiles are in the file
    void Run(std::unique_ptr<TileSink> sink, const EarlierArchive* earlier);

private:
    TileJobEnd RunJob(TileSink& sink, const EarlierArchive* earlier, const StopSignals& signals);
    bool KeepPart(TileSink& sink, const StopSignals& signals, const TileJobEnd& end) noexcept;
    void Stop(TileSink& sink, TileJobEnd end) const;
    void Print(const TileJobEnd& end) const;
    std::string WhatIsNext() const;
    [[noreturn]] void ThrowEmpty(const TileJobEnd& end) const;

    const GlobalOptions& m_options;
    const ExportArguments& m_arguments;
    const TileOrigin& m_origin;
    const TileList& m_tiles;
    TileJobOptions m_job;
    const bool m_isPicture;
    const char* m_again;
    std::atomic<std::uint64_t> m_added{0}; ///< tiles of this run in the file
    bool m_isPartKept = false;
};

} // namespace KxTileHost
