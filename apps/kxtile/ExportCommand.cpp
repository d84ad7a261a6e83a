// SPDX-License-Identifier: MIT
#include "Command.h"
#include "KxFile.h"
#include "OutputFile.h"
#include "UnfinishedFiles.h"
#include "export/ArchiveSink.h"
#include "export/EarlierArchive.h"
#include "export/ImageSink.h"
#include "export/StoppableStep.h"
#include "jobs/JobArguments.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <atomic>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <memory>
#include <optional>
#include <system_error>

namespace KxTileHost {

namespace {

struct ExportArguments
{
    JobArguments m_job;
    std::string m_output;
    std::string m_name;
    std::string m_attribution;
    bool m_overwrite = false;
    bool m_resume = false;
};

enum class Form { MbTiles, PmTiles, GeoTiff };

Form FormOf(const std::string& path)
{
    struct Known
    {
        const char* m_ext;
        Form m_form;
    };
    constexpr Known kKnown[] = {{".mbtiles", Form::MbTiles},
                                {".pmtiles", Form::PmTiles},
                                {".tif", Form::GeoTiff},
                                {".tiff", Form::GeoTiff}};
    for (const Known& known : kKnown)
        if (KxC::KxFile::GetExt(path.c_str()).CompareNoCase(known.m_ext) == 0)
            return known.m_form;
    throw CommandError(kExitWrongUsage,
                       fmt::format("'{}' is no name for an export", path),
                       "Its extension tells the format: .mbtiles, .pmtiles or .tif.");
}

/// @return whether there is an earlier file to go on with
bool CheckOutput(const ExportArguments& arguments, Form form)
{
    const std::string& path = arguments.m_output;
    if (arguments.m_resume && form == Form::GeoTiff)
        throw CommandError(kExitWrongUsage,
                           "a GeoTIFF cannot be gone on with",
                           "--overwrite makes it anew, from tiles that are kept where they are.");
    std::error_code error;
    const auto status = std::filesystem::status(path, error);
    if (status.type() == std::filesystem::file_type::not_found) {
        if (!arguments.m_job.m_retry.empty())
            throw CommandError(kExitFailed,
                               fmt::format("there is no '{}' that the list's tiles are of", path),
                               "Give --bounds and --levels instead of --retry.");
        return false;
    }
    if (!std::filesystem::is_regular_file(status))
        throw CommandError(
            kExitFailed, fmt::format("'{}' is there and no file", path), "Give another name.");
    if (!arguments.m_overwrite && !arguments.m_resume)
        throw CommandError(kExitFailed,
                           fmt::format("'{}' is there already", path),
                           "--overwrite makes it anew; --resume takes the tiles that it has (not "
                           "of .tif) and fetches the others.");
    return arguments.m_resume;
}

/// A list alone would make a file of nothing else.
void CheckRetry(const ExportArguments& arguments)
{
    if (!arguments.m_job.m_retry.empty() && !arguments.m_resume)
        throw CommandError(kExitWrongUsage,
                           "--retry needs --resume",
                           "The tiles of the list are put into the file that is there; without a "
                           "list --resume fetches all that is missing.");
}

/// Of a picture the deepest level alone is needed.
TileList MakeList(JobArguments job, Form form)
{
    if (form == Form::GeoTiff && !job.m_levels.empty())
        job.m_levels = std::to_string(ParseLevelRange(job.m_levels).m_last);
    return job.MakeList();
}

KxC::KxTileArchiveMetadata MetadataFor(const ExportArguments& arguments, const TileOrigin& origin)
{
    const KxC::KxTSDParamItem* const source = origin.GetSource();
    const auto chosen = [&](const std::string& given, const KxC::KxString& ofSource) {
        return given.empty() ? origin.WithoutSecrets(ofSource.Cstr()) : given;
    };
    std::string name = chosen(arguments.m_name, source != nullptr ? source->m_strAttr1 : "");
    if (name.empty())
        name = origin.GetName();
    const std::string attribution =
        chosen(arguments.m_attribution, source != nullptr ? source->m_strAttr2 : "");
    return {name.c_str(), "Tiles exported by kxtile", attribution.c_str()};
}

KxC::KxTileArchiveFormat ArchiveFormatOf(Form form)
{
    return form == Form::MbTiles ? KxC::KxTileArchiveFormat_MBTiles
                                 : KxC::KxTileArchiveFormat_PMTiles;
}

std::unique_ptr<TileSink> MakeSink(const ExportArguments& arguments,
                                   Form form,
                                   const TileOrigin& origin,
                                   const TileList& tiles)
{
    if (form == Form::GeoTiff)
        return std::make_unique<ImageSink>(arguments.m_output, tiles, origin.GetTileSize());
    return std::make_unique<ArchiveSink>(
        arguments.m_output, ArchiveFormatOf(form), MetadataFor(arguments, origin));
}

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
        return {fetched.m_outcome, 0, fetched.m_why};
    sink.Add(tile, *fetched.m_bytes);
    added.fetch_add(1, std::memory_order_relaxed);
    return {fetched.m_outcome, fetched.m_bytes->GetSize(), {}};
}

/// What the command does once it knows that it may.
class ExportRun
{
public:
    ExportRun(const GlobalOptions& options,
              const ExportArguments& arguments,
              const TileOrigin& origin,
              const TileList& tiles,
              Form form)
        : m_options(options), m_arguments(arguments), m_origin(origin), m_tiles(tiles),
          m_job(arguments.m_job.OptionsFor(options, arguments.m_output + ".failed-tiles.txt")),
          m_isPicture(form == Form::GeoTiff), m_again(m_isPicture ? "--overwrite" : "--resume")
    {
        m_job.m_listRemark = m_isPicture ? "The same command with --overwrite tries them again."
                                         : "Try them again with --resume --retry and this file.";
    }

    void Run(std::unique_ptr<TileSink> sink, const EarlierArchive* earlier)
    {
        const StopSignals signals; // from the first tile to the last step
        if (earlier != nullptr)
            RunStoppable(
                [&] { TakeOver(*earlier, *sink); }, signals, [&] { Stop(*sink, TileJobEnd()); });
        m_job.m_onEnd = [&](const TileJobEnd& end) {
            if (!KeepPart(*sink, signals, end))
                sink->Abandon();
            Print(end);
        };
        const TileJobEnd end = RunTileJob(
            m_tiles,
            [&](const HostTile& tile) { return Export(tile, m_origin, earlier, *sink, m_added); },
            m_job);
        const bool hasTiles = end.m_counts.m_made + end.m_counts.m_kept > 0;
        if (end.m_isInterrupted)
            KeepPart(*sink, signals, end);
        else if (hasTiles || sink->HasFailed())
            RunStoppable([&] { sink->Finish(); }, signals, [&] { Stop(*sink, end); });
        sink.reset();
        Print(end);
        if (!end.m_isInterrupted && !hasTiles)
            throw CommandError(
                ExitCodeOf(end),
                fmt::format("'{}' was not written: there is no tile for it", m_arguments.m_output),
                "Check bounds and levels against what the source has.");
        ThrowUnlessComplete(end);
    }

private:
    /// After an interruption: what was fetched by then becomes a file that --resume goes on with.
    /// A complete file that was to be replaced is worth more than a part of the new one.
    /// @return whether there is a file with new tiles now
    bool KeepPart(TileSink& sink, const StopSignals& signals, const TileJobEnd& end) noexcept
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
    void Stop(TileSink& sink, TileJobEnd end) const
    {
        sink.Abandon();
        end.m_isInterrupted = true;
        Print(end);
    }

    void Print(const TileJobEnd& end) const
    {
        PrintJobEnd(m_options, end, m_arguments.m_output, m_job.m_failedList, m_again);
        if (m_isPartKept)
            fmt::print(stderr,
                       "kxtile: '{}' holds what was there by then; --resume goes on with it\n",
                       m_arguments.m_output);
        else if (end.m_isInterrupted)
            fmt::print(stderr, "kxtile: '{}' was not written\n", m_arguments.m_output);
    }

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

void RunExport(const GlobalOptions& options, const ExportArguments& arguments)
{
    const Form form = FormOf(arguments.m_output);
    CheckRetry(arguments);
    const TileList tiles = MakeList(arguments.m_job, form);
    const TileOrigin origin(arguments.m_job.m_source, arguments.m_job.m_size, options);
    CheckNotItsSource(arguments.m_output, origin.GetRasterPath());
    if (arguments.m_job.m_dryRun)
        return PrintDryRun(options, origin, tiles, EstimateSize(tiles, origin, [](const HostTile&) {
                               return std::optional<std::uint64_t>();
                           }));
    std::unique_ptr<EarlierArchive> earlier;
    if (CheckOutput(arguments, form))
        earlier = std::make_unique<EarlierArchive>(arguments.m_output, ArchiveFormatOf(form));
    arguments.m_job.GuardAmount(tiles, origin);
    RemoveOrphans(FolderOf(arguments.m_output));
    ExportRun(options, arguments, origin, tiles, form)
        .Run(MakeSink(arguments, form, origin, tiles), earlier.get());
}

} // namespace

void AddExportCommand(CLI::App& app, const GlobalOptions& options)
{
    CLI::App* command = app.add_subcommand(
        "export", "Gather the tiles of an area in one file: MBTiles, PMTiles or GeoTIFF");
    const auto arguments = std::make_shared<ExportArguments>();
    arguments->m_job.AddTo(*command);
    command
        ->add_option("-o,--output", arguments->m_output, "FILE.mbtiles, FILE.pmtiles or FILE.tif")
        ->required();
    command->add_option("--name", arguments->m_name, "Name for people (the source's own)");
    command->add_option(
        "--attribution", arguments->m_attribution, "Whom the tiles are owed to (the source's own)");
    CLI::Option* overwrite = command->add_flag(
        "--overwrite", arguments->m_overwrite, "Replace a file that is there already");
    command
        ->add_flag("--resume",
                   arguments->m_resume,
                   "Keep all tiles of the file that is there already, and fetch the others")
        ->excludes(overwrite);
    command->footer(
        "Tiles are Web Mercator tiles. A GeoTIFF holds the deepest level alone (EPSG:3857, "
        "overviews of\nits own), its holes are transparent. The file appears under its name when "
        "it is whole; one with\nfailures holds the tiles that there are.\n"
        "Exit codes: 0 complete; 1 failed; 2 wrong usage; 3 complete, but some tiles do not exist "
        "at\nthe source; 4 some tiles failed (they are listed; --resume fetches them); 130 "
        "interrupted:\nan archive holds what was there by then, and --resume goes on with it; a "
        "GeoTIFF is not written.\nExamples:\n"
        "  kxtile export city.toml --bounds 116.2,39.8,116.6,40.0 --levels 8-14 -o city.mbtiles\n"
        "  kxtile export survey.tif --bounds 5.9,45.8,10.5,47.8 --levels 0-12 -o survey.pmtiles\n"
        "  kxtile export city.toml --bounds 116.2,39.8,116.6,40.0 --levels 14 -o city.tif\n"
        "  kxtile export city.toml --bounds 116.2,39.8,116.6,40.0 --levels 8-14 -o city.mbtiles "
        "--resume\n"
        "  kxtile export city.toml --retry city.mbtiles.failed-tiles.txt -o city.mbtiles --resume");
    command->callback([&options, arguments] { RunExport(options, *arguments); });
}

} // namespace KxTileHost
