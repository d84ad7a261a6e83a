// SPDX-License-Identifier: MIT
#include "Command.h"
#include "KxFile.h"
#include "KxTileFetcher.h"
#include "TileTree.h"
#include "jobs/Coverage.h"
#include "jobs/JobArguments.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <cstdio>
#include <memory>

namespace KxTileHost {

namespace {

struct FilesArguments
{
    JobArguments m_job;
    std::string m_folder;
};

/// Makes the folder the root of what the library's file operations write. The disk cache, which
/// would lie there too, is left out of it.
void SetRoot(std::string folder)
{
    while (folder.size() > 1 && folder.back() == '/')
        folder.pop_back();
    KxC::KxFile::m_strAppCachePath = folder.c_str();
    KxC::KxTileFetcher::m_sbLocalCacheUsed = 0;
}

TileJobOptions
OptionsFor(const GlobalOptions& options, const FilesArguments& arguments, const TileTree& tree)
{
    TileJobOptions job =
        arguments.m_job.OptionsFor(options, tree.GetFolder() + "/failed-tiles.txt");
    job.m_onAbandon = [&tree](const std::vector<HostTile>& inWork) {
        tree.RemoveUnfinished(inWork);
    };
    job.m_onEnd = [&options, &tree, list = job.m_failedList](const TileJobEnd& end) {
        PrintJobEnd(options, end, tree.GetFolder(), list);
    };
    return job;
}

void RunFiles(const GlobalOptions& global, const FilesArguments& arguments)
{
    const TileList tiles = arguments.m_job.MakeList();
    GlobalOptions options = global;
    if (!arguments.m_folder.empty())
        options.m_noDiskCache = true;
    const TileOrigin origin(arguments.m_job.m_source, arguments.m_job.m_size, options);
    if (!arguments.m_folder.empty())
        SetRoot(arguments.m_folder);
    const TileTree tree(origin);
    if (arguments.m_job.m_dryRun)
        return PrintDryRun(
            options, origin, tiles, EstimateSize(tiles, origin, [&tree](const HostTile& tile) {
                return tree.SizeOnDisk(tile);
            }));
    arguments.m_job.GuardAmount(tiles, origin);
    const TileJobOptions job = OptionsFor(options, arguments, tree);
    const TileJobEnd end = RunTileJob(
        tiles, [&tree](const HostTile& tile) { return tree.Make(tile); }, job);
    if (!end.m_isInterrupted) // that must be over soon, and the tree may be large
        tree.Tidy();
    const std::string hint = HintAtCoverage(origin, tiles, end);
    if (!hint.empty())
        fmt::print(stderr, "kxtile: {}\n", Printable(hint));
    PrintJobEnd(options, end, tree.GetFolder(), job.m_failedList);
    ThrowUnlessComplete(end);
}

} // namespace

void AddFilesCommand(CLI::App& app, const GlobalOptions& options)
{
    CLI::App* command =
        app.add_subcommand("files", "Write the tiles of an area as files with world files");
    const auto arguments = std::make_shared<FilesArguments>();
    arguments->m_job.AddTo(*command);
    command->add_option("-o,--output",
                        arguments->m_folder,
                        "Folder of the tree (the cache folder); the disk cache is not used then");
    command->footer(
        std::string(
            "Tiles are Web Mercator tiles, FOLDER/KEY/LEVEL/ROW/COLUMN.EXT with rows from "
            "the north; KEY\nstands for the source (and the size, where --size is not its own). "
            "Tiles that are there already are\nleft as they are.\n"
            "Beside each tile lies a world file, .jgw or .pgw: its lines are pixel width, "
            "0, 0, negative pixel\nheight, and the tile's north-west corner in metres "
            "(EPSG:3857, which a GIS must be told). A GIS that\ntakes the last two lines "
            "for the middle of the first pixel, as ESRI defines it and GDAL and QGIS\n"
            "read it, shows tiles half a pixel further north-west; `export -o FILE.tif` is "
            "exact everywhere.\n") +
        kJobExitCodes +
        "\nExamples:\n"
        "  kxtile files city.toml --bounds 116.2,39.8,116.6,40.0 --levels 8-14\n"
        "  kxtile files survey.tif --bounds 5.9,45.8,10.5,47.8 --levels 0-12 --jobs 2 -o tiles\n"
        "  kxtile files city.toml --retry tiles/KEY/failed-tiles.txt\n"
        "  kxtile files 'http://127.0.0.1:8080/xyz/marble/{$z}/{$x}/{$y}.jpg' "
        "--bounds 170,-20,-170,10 --levels 0-5 --dry-run");
    command->callback([&options, arguments] { RunFiles(options, *arguments); });
}

} // namespace KxTileHost
