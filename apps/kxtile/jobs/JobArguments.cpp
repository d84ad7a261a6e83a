// SPDX-License-Identifier: MIT
#include "JobArguments.h"

#include "CacheCommand.h"
#include "FailedTiles.h"
#include "KxNetGetch.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <cstdio>

namespace KxTileHost {

namespace {

constexpr std::uint64_t kUnaskedTiles = 10'000; ///< of a service
constexpr int kMaxThreads = 64;
constexpr int kMaxSize = 8000; // whose square is KxImageData::kMaxPixels

std::string Plural(std::uint64_t count, const char* one, const char* many)
{
    return fmt::format("{} {}", count, count == 1 ? one : many);
}

void PrintEndAsJson(const TileJobEnd& end, const std::string& where, const std::string& list)
{
    const JobCounts& counts = end.m_counts;
    PrintJson({{"event", "end"},
               {"exit_code", static_cast<int>(ExitCodeOf(end))},
               {"interrupted", end.m_isInterrupted},
               {"gave_up",
                end.m_whyGivenUp.empty() ? nlohmann::ordered_json(nullptr)
                                         : nlohmann::ordered_json(end.m_whyGivenUp)},
               {"output", where},
               {"made", counts.m_made},
               {"kept", counts.m_kept},
               {"holes", counts.m_holes},
               {"failed", counts.m_failed},
               {"bytes", counts.m_madeBytes},
               {"seconds", end.m_seconds},
               {"failed_list",
                end.m_listed > 0 && end.m_isListWritten ? nlohmann::ordered_json(list)
                                                        : nlohmann::ordered_json(nullptr)}});
}

const char* HowItEnded(const TileJobEnd& end)
{
    if (end.m_isInterrupted)
        return "interrupted; ";
    return end.m_whyGivenUp.empty() ? "" : "given up; ";
}

void TellOfGivingUp(const TileJobEnd& end, const std::string& next)
{
    if (end.m_whyGivenUp.empty())
        return;
    fmt::print(stderr,
               "kxtile: given up: {}\n"
               "        Once that is mended, {}; with --keep-going it asks for every tile whatever "
               "comes.\n",
               Printable(end.m_whyGivenUp),
               next);
}

void TellOfList(const TileJobEnd& end, const std::string& list, const char* again)
{
    if (!end.m_isListWritten)
        fmt::print(stderr, "kxtile: warning: cannot write the list of failed tiles '{}'\n", list);
    else if (end.m_listed > 0)
        fmt::print(stderr,
                   "kxtile: the {} tiles are listed in '{}'; see {}\n",
                   end.m_listed > end.m_counts.m_failed ? "remaining" : "failed",
                   list,
                   again);
}

} // namespace

const char kJobExitCodes[] =
    "A service that refuses 64 tiles in a row (status 401, 403, 418, 429 ...), or cannot be "
    "reached\n"
    "for 16, is not asked for the others, unless --keep-going says so.\n"
    "Exit codes: 0 complete; 1 failed, or given up; 2 wrong usage; 3 complete, but some tiles do\n"
    "not exist at the source; 4 some tiles failed (they are listed; --retry LIST tries them\n"
    "again); 130 interrupted. The same command again goes on where it ended.";

void JobArguments::AddTo(CLI::App& command)
{
    m_source.AddTo(command);
    command.get_option("SOURCE")->description(
        "Raster file, definition file, name of a ready definition ('kxtile source list'), or URL "
        "template with {$x} {$y} {$z}");
    command.add_option("--bounds",
                       m_bounds,
                       "WEST,SOUTH,EAST,NORTH in degrees (WGS 84); a west greater than the east "
                       "goes across the antimeridian");
    command.add_option("--levels", m_levels, "Levels of the tiles: A-B, or one");
    command.add_option("--retry", m_retry, "Do the tiles of this list instead")
        ->excludes("--bounds")
        ->excludes("--levels");
    command.add_option("--failed", m_failedList, "Where to list tiles that fail");
    command.add_option("--jobs", m_threads, "Tiles worked on at once")
        ->check(CLI::Range(1, kMaxThreads))
        ->capture_default_str();
    command
        .add_option("--size", m_size, "Edge of the tiles in pixels (the source's own, raster: 256)")
        ->check(CLI::Range(1, kMaxSize));
    command.add_flag("--keep-going",
                     m_keepGoing,
                     "Ask on for every tile though the service refuses all, or cannot be reached");
    command.add_flag("--dry-run", m_dryRun, "Only say how many tiles and about how many bytes");
    command.add_flag("--yes", m_yes, "Ask a service even for more than 10000 tiles");
}

TileList JobArguments::MakeList() const
{
    if (!m_retry.empty())
        return TileList(ReadTileList(m_retry));
    if (m_bounds.empty() || m_levels.empty())
        throw CommandError(kExitWrongUsage,
                           "--bounds and --levels are needed to know the tiles",
                           "For instance --bounds 5.9,45.8,10.5,47.8 --levels 0-8; or --retry with "
                           "the list of an earlier run.");
    TileList tiles(ParseGeoBounds(m_bounds), ParseLevelRange(m_levels));
    if (tiles.Count() == 0)
        throw CommandError(kExitWrongUsage,
                           fmt::format("there are no tiles in '{}'", m_bounds),
                           "The tiling ends at latitude 85.0511 in the north and in the south.");
    return tiles;
}

void JobArguments::GuardAmount(const TileList& tiles, const TileOrigin& origin) const
{
    if (m_yes || origin.GetSource() == nullptr || tiles.Count() <= kUnaskedTiles)
        return;
    throw CommandError(
        kExitWrongUsage,
        fmt::format("these are {} tiles; a service may take more than {} amiss",
                    tiles.Count(),
                    kUnaskedTiles),
        "If its terms allow it, say so with --yes. --dry-run estimates how much it is.");
}

TileJobOptions JobArguments::OptionsFor(const GlobalOptions& options,
                                        const std::string& failedList) const
{
    // Who asks for more at once than the library lets through means it.
    KxC::KxNetGetch::SetMaxRequestsPerHost(
        std::max(m_threads, KxC::KxNetGetch::kDefaultRequestsPerHost));
    TileJobOptions job;
    job.m_threads = m_threads;
    job.m_givesUp = !m_keepGoing;
    job.m_json = options.m_json;
    job.m_failedList = m_failedList.empty() ? failedList : m_failedList;
    job.m_retried = m_retry;
    return job;
}

void PrintDryRun(const GlobalOptions& options,
                 const TileOrigin& origin,
                 const TileList& tiles,
                 const SizeEstimate& estimate)
{
    if (options.m_json) {
        auto levels = nlohmann::ordered_json::array();
        for (const LevelCount& level : tiles.CountsByLevel())
            levels.push_back({{"level", level.m_level}, {"tiles", level.m_tiles}});
        PrintJson({{"source", origin.GetName()},
                   {"tiles", tiles.Count()},
                   {"levels", levels},
                   {"estimated_bytes", estimate.m_bytes},
                   {"estimated_from", estimate.m_basis}});
        return;
    }
    for (const LevelCount& level : tiles.CountsByLevel())
        fmt::print("level {:>2}: {}\n", level.m_level, Plural(level.m_tiles, "tile", "tiles"));
    fmt::print("{}, about {}, going by {}\n",
               Plural(tiles.Count(), "tile", "tiles"),
               ReadableBytes(estimate.m_bytes),
               estimate.m_basis);
}

void PrintJobEnd(const GlobalOptions& options,
                 const TileJobEnd& end,
                 const std::string& where,
                 const std::string& list,
                 const char* again,
                 const std::string& next)
{
    TellOfGivingUp(end, next);
    TellOfList(end, list, again);
    if (options.m_json)
        return PrintEndAsJson(end, where, list);
    const JobCounts& counts = end.m_counts;
    std::string text = fmt::format("{}{}: {} made ({}), {} there before",
                                   HowItEnded(end),
                                   where,
                                   Plural(counts.m_made, "tile", "tiles"),
                                   ReadableBytes(counts.m_madeBytes),
                                   counts.m_kept);
    if (counts.m_holes > 0)
        text += fmt::format(", {} do not exist at the source", counts.m_holes);
    if (counts.m_failed > 0)
        text += fmt::format(", {} failed", counts.m_failed);
    fmt::print("{}\n", text);
}

ExitCode ExitCodeOf(const TileJobEnd& end)
{
    if (end.m_isInterrupted)
        return kExitInterrupted;
    if (!end.m_whyGivenUp.empty())
        return kExitFailed;
    if (end.m_counts.m_failed > 0)
        return kExitSomeFailed;
    return end.m_counts.m_holes > 0 ? kExitNoTile : kExitDone;
}

void ThrowUnlessComplete(const TileJobEnd& end)
{
    if (ExitCodeOf(end) != kExitDone)
        throw CommandError(ExitCodeOf(end), ""); // all is told
}

} // namespace KxTileHost
