// SPDX-License-Identifier: MIT
#include "ExportRun.h"

#include "Command.h"
#include "StoppableStep.h"
#include "jobs/Coverage.h"

#include <fmt/format.h>

#include <cstdio>
#include <exception>
#include <filesystem>
#include <system_error>

namespace KxTileHost {

namespace {

/// All that the earlier file has goes into the new one, whether it is asked for now or not.
void TakeOver(const EarlierArchive& earlier, TileSink& sink)
try {
    const std::uint64_t unread = earlier.HandOver(
        [&sink](const HostTile& tile, const KxC::KxRawData& bytes) { sink.Add(tile, bytes); });
    if (unread > 0)
        fmt::print(stderr,
                   "kxtile: warning: {} tiles of the file that is there cannot be read; those that "
                   "are asked for are fetched\n",
                   unread);
} catch (const std::exception&) {
    if (sink.HasFailed())
        sink.Finish(); // says why
    throw;
}

/// One tile's way into the file, unless it was taken over.
TileResult Export(const HostTile& tile,
                  const TileOrigin& origin,
                  const EarlierArchive* earlier,
                  TileSink& sink,
                  std::atomic<std::uint64_t>& added)
{
    if (sink.HasFailed())
        return {TileOutcome::Failed, 0, "the file cannot be written"};
    if (earlier != nullptr)
        if (const auto kept = earlier->Find(tile))
            return {TileOutcome::Kept, kept->GetSize(), {}};
    const TileBytes fetched = origin.Fetch(tile);
    if (fetched.m_bytes == nullptr)
        return {fetched.m_outcome, 0, fetched.m_why, fetched.m_outlook};
    sink.Add(tile, *fetched.m_bytes);
    added.fetch_add(1, std::memory_order_relaxed);
    return {fetched.m_outcome, fetched.m_bytes->GetSize(), {}};
}

/// Why there is no tile at all.
std::string WhyEmpty(const JobCounts& counts, const std::string& lastFailure)
{
    if (counts.m_failed == 0)
        return "there is no tile for it";
    const std::string holes =
        counts.m_holes > 0 ? fmt::format("{} tiles do not exist at the source, ", counts.m_holes)
                           : "";
    return fmt::format("{}{} failed; the last one: {}", holes, counts.m_failed, lastFailure);
}

} // namespace

ExportRun::ExportRun(const GlobalOptions& options,
                     const ExportArguments& arguments,
                     const TileOrigin& origin,
                     const TileList& tiles,
                     ExportForm form)
    : m_options(options), m_arguments(arguments), m_origin(origin), m_tiles(tiles),
      m_job(arguments.m_job.OptionsFor(options, arguments.m_output + ".failed-tiles.txt")),
      m_isPicture(form == ExportForm::GeoTiff), m_again(m_isPicture ? "--overwrite" : "--resume")
{
    m_job.m_listRemark = m_isPicture ? "The same command with --overwrite tries them again."
                                     : "Try them again with --resume --retry and this file.";
}

void ExportRun::Run(std::unique_ptr<TileSink> sink, const EarlierArchive* earlier)
{
    const StopSignals signals; // from the first tile to the last step
    const TileJobEnd end = RunJob(*sink, earlier, signals);
    const bool hasTiles = end.m_counts.m_made + end.m_counts.m_kept > 0;
    if (end.EndedEarly())
        KeepPart(*sink, signals, end);
    else if (hasTiles || sink->HasFailed())
        RunStoppable([&] { sink->Finish(); }, signals, [&] { Stop(*sink, end); });
    sink.reset();
    Print(end);
    if (!end.EndedEarly() && !hasTiles)
        ThrowEmpty(end);
    ThrowUnlessComplete(end);
}

TileJobEnd
ExportRun::RunJob(TileSink& sink, const EarlierArchive* earlier, const StopSignals& signals)
{
    if (earlier != nullptr)
        RunStoppable([&] { TakeOver(*earlier, sink); }, signals, [&] { Stop(sink, TileJobEnd()); });
    m_job.m_onEnd = [&](const TileJobEnd& end) {
        if (!KeepPart(sink, signals, end))
            sink.Abandon();
        Print(end);
    };
    return RunTileJob(
        m_tiles,
        [&](const HostTile& tile) { return Export(tile, m_origin, earlier, sink, m_added); },
        m_job);
}

/// After an early end: what was fetched by then becomes a file that --resume goes on with. A
/// complete file that was to be replaced is worth more than a part of the new one.
/// @return whether there is a file with new tiles now
bool ExportRun::KeepPart(TileSink& sink, const StopSignals& signals, const TileJobEnd& end) noexcept
{
    std::error_code error;
    const bool replaces =
        m_arguments.m_overwrite && std::filesystem::exists(m_arguments.m_output, error);
    if (m_isPicture || replaces || m_added.load() == 0 || sink.HasFailed())
        return false;
    try {
        RunStoppable([&] { sink.Finish(); }, signals, [&] { Stop(sink, end); });
        m_isPartKept = true;
    } catch (const std::exception& failure) {
        fmt::print(stderr, "kxtile: {}\n", failure.what());
    }
    return m_isPartKept;
}

/// Before the process ends in the middle of a step.
void ExportRun::Stop(TileSink& sink, TileJobEnd end) const
{
    sink.Abandon();
    end.m_isInterrupted = true;
    Print(end);
}

void ExportRun::Print(const TileJobEnd& end) const
{
    const std::string hint = HintAtCoverage(m_origin, m_tiles, end);
    if (!hint.empty() && end.m_counts.m_made + end.m_counts.m_kept > 0) // else told at the end
        fmt::print(stderr, "kxtile: {}\n", Printable(hint));
    PrintJobEnd(m_options, end, m_arguments.m_output, m_job.m_failedList, m_again, WhatIsNext());
    if (m_isPartKept)
        fmt::print(stderr,
                   "kxtile: '{}' holds what was there by then; --resume goes on with it\n",
                   m_arguments.m_output);
    else if (end.EndedEarly())
        fmt::print(stderr, "kxtile: '{}' was not written\n", m_arguments.m_output);
}

/// What the command does when it is given again after it gave up.
std::string ExportRun::WhatIsNext() const
{
    if (m_isPicture || (m_arguments.m_overwrite && !m_isPartKept))
        return "the same command begins anew";
    return fmt::format("the same command with --resume{} goes on where it ended",
                       m_arguments.m_overwrite ? " instead of --overwrite" : "");
}

void ExportRun::ThrowEmpty(const TileJobEnd& end) const
{
    throw CommandError(ExitCodeOf(end),
                       fmt::format("'{}' was not written: {}",
                                   m_arguments.m_output,
                                   WhyEmpty(end.m_counts, end.m_lastFailure)),
                       HintAtCoverage(m_origin, m_tiles, end));
}

} // namespace KxTileHost
