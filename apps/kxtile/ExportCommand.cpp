// SPDX-License-Identifier: MIT
#include "Command.h"
#include "KxFile.h"
#include "OutputFile.h"
#include "UnfinishedFiles.h"
#include "export/ArchiveSink.h"
#include "export/ExportRun.h"
#include "export/ImageSink.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <filesystem>
#include <memory>
#include <optional>
#include <system_error>

namespace KxTileHost {

namespace {

ExportForm FormOf(const std::string& path)
{
    struct Known
    {
        const char* m_ext;
        ExportForm m_form;
    };
    constexpr Known kKnown[] = {{".mbtiles", ExportForm::MbTiles},
                                {".pmtiles", ExportForm::PmTiles},
                                {".tif", ExportForm::GeoTiff},
                                {".tiff", ExportForm::GeoTiff}};
    for (const Known& known : kKnown)
        if (KxC::KxFile::GetExt(path.c_str()).CompareNoCase(known.m_ext) == 0)
            return known.m_form;
    throw CommandError(kExitWrongUsage,
                       fmt::format("'{}' is no name for an export", path),
                       "Its extension tells the format: .mbtiles, .pmtiles or .tif.");
}

/// @return whether there is an earlier file to go on with
bool CheckOutput(const ExportArguments& arguments, ExportForm form)
{
    const std::string& path = arguments.m_output;
    if (arguments.m_resume && form == ExportForm::GeoTiff)
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
TileList MakeList(JobArguments job, ExportForm form)
{
    if (form == ExportForm::GeoTiff && !job.m_levels.empty())
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
    return {
        name.c_str(), "Tiles exported by kxtile", attribution.c_str(), origin.Describe().c_str()};
}

KxC::KxTileArchiveFormat ArchiveFormatOf(ExportForm form)
{
    return form == ExportForm::MbTiles ? KxC::KxTileArchiveFormat_MBTiles
                                       : KxC::KxTileArchiveFormat_PMTiles;
}

std::unique_ptr<TileSink> MakeSink(const ExportArguments& arguments,
                                   ExportForm form,
                                   const TileOrigin& origin,
                                   const TileList& tiles)
{
    if (form == ExportForm::GeoTiff)
        return std::make_unique<ImageSink>(arguments.m_output, tiles, origin.GetTileSize());
    return std::make_unique<ArchiveSink>(
        arguments.m_output, ArchiveFormatOf(form), MetadataFor(arguments, origin));
}

/// @return null where there is none to go on with
/// @throws CommandError where there is one that must not be
std::unique_ptr<EarlierArchive>
EarlierFile(const ExportArguments& arguments, ExportForm form, const TileOrigin& origin)
{
    if (!CheckOutput(arguments, form))
        return nullptr;
    auto earlier = std::make_unique<EarlierArchive>(arguments.m_output, ArchiveFormatOf(form));
    if (!arguments.m_otherSource)
        earlier->CheckOrigin(origin.Describe());
    return earlier;
}

void RunExport(const GlobalOptions& options, const ExportArguments& arguments)
{
    const ExportForm form = FormOf(arguments.m_output);
    CheckRetry(arguments);
    const TileList tiles = MakeList(arguments.m_job, form);
    const TileOrigin origin(arguments.m_job.m_source, arguments.m_job.m_size, options);
    CheckNotItsSource(arguments.m_output, origin.GetRasterPath());
    if (arguments.m_job.m_dryRun)
        return PrintDryRun(options, origin, tiles, EstimateSize(tiles, origin, [](const HostTile&) {
                               return std::optional<std::uint64_t>();
                           }));
    const std::unique_ptr<EarlierArchive> earlier = EarlierFile(arguments, form, origin);
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
    CLI::Option* const resume =
        command
            ->add_flag("--resume",
                       arguments->m_resume,
                       "Keep all tiles of the file that is there already, and fetch the others")
            ->excludes(overwrite);
    command
        ->add_flag("--other-source",
                   arguments->m_otherSource,
                   "With --resume: go on with the file though its tiles are of another source")
        ->needs(resume);
    command->footer(
        "Tiles are Web Mercator tiles. A GeoTIFF holds the deepest level alone (EPSG:3857, "
        "overviews of\nits own), its holes are transparent. The file appears under its name when "
        "it is whole; one with\nfailures holds the tiles that there are.\n"
        "A service that refuses 64 tiles in a row (status 401, 403, 418, 429 ...), or cannot be "
        "reached\nfor 16, is not asked for the others, unless --keep-going says so.\n"
        "Exit codes: 0 complete; 1 failed, or given up; 2 wrong usage; 3 complete, but some tiles "
        "do not\nexist at the source; 4 some tiles failed (they are listed; --resume fetches "
        "them); 130 interrupted.\nInterrupted or given up, an archive holds what was there by "
        "then, and --resume goes on with it;\na GeoTIFF is not written. --resume does not tell "
        "rasters of equal file names apart.\nExamples:\n"
        "  kxtile export city.toml --bounds 116.2,39.8,116.6,40.0 --levels 8-14 -o city.mbtiles\n"
        "  kxtile export survey.tif --bounds 5.9,45.8,10.5,47.8 --levels 0-12 -o survey.pmtiles\n"
        "  kxtile export city.toml --bounds 116.2,39.8,116.6,40.0 --levels 14 -o city.tif\n"
        "  kxtile export city.toml --bounds 116.2,39.8,116.6,40.0 --levels 8-14 -o city.mbtiles "
        "--resume\n"
        "  kxtile export city.toml --retry city.mbtiles.failed-tiles.txt -o city.mbtiles --resume");
    command->callback([&options, arguments] { RunExport(options, *arguments); });
}

} // namespace KxTileHost
