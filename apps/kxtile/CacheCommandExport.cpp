// SPDX-License-Identifier: MIT
#include "CacheCommand.h"
#include "KxFile.h"
#include "SourceArgument.h"
#include "SourceGrid.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string_view>
#include <system_error>

namespace KxTileHost {

namespace {

using KxC::KxRawDataExportReport;
using KxC::KxRawDataTreeResult;

struct ExportArguments
{
    SourceArgument m_source;
    std::string m_output;
    std::string m_name;
    bool m_force = false;
};

/// Why the source's tiles cannot lie right in an MBTiles file; empty when they can.
std::string ObstacleOf(const KxC::KxTSDParamItem& source)
{
    if (IsStandardTiling(source.m_nTileScheme, source.m_nDatum))
        return {};
    if (GridOf(source.m_nTileScheme) != GridKind::WebMercator)
        return fmt::format("its tiles lie on another grid than Web Mercator (scheme {})",
                           source.m_nTileScheme);
    return fmt::format("its datum is {}, so that its tiles would lie some hundred metres off",
                       NameOfDatum(source.m_nDatum));
}

/// Whether what is there may be an MBTiles file, or nothing is lost with it.
bool MayBeReplaced(const std::filesystem::path& path)
{
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(path, error);
    if (status.type() == std::filesystem::file_type::not_found)
        return true;
    if (!std::filesystem::is_regular_file(status))
        return false;
    constexpr std::string_view kDatabase("SQLite format 3\0", 16);
    std::array<char, kDatabase.size()> start{};
    std::ifstream file(path, std::ios::binary);
    file.read(start.data(), start.size());
    const bool isEmpty = file.eof() && file.gcount() == 0;
    return isEmpty || std::string_view(start.data(), start.size()) == kDatabase;
}

void CheckArguments(const ExportArguments& arguments, const KxC::KxTSDParamItem& source)
{
    if (!(KxC::KxFile::GetExt(arguments.m_output.c_str()) == ".mbtiles"))
        throw CommandError(kExitWrongUsage,
                           fmt::format("'{}' is no name for an MBTiles file", arguments.m_output),
                           "Use the extension .mbtiles: readers tell the format by it.");
    const std::string obstacle = ObstacleOf(source);
    if (!obstacle.empty())
        throw CommandError(kExitFailed,
                           fmt::format("the source cannot become an MBTiles file: {}", obstacle),
                           "MBTiles holds tiles of the Web Mercator grid on WGS 84 only.");
    if (!arguments.m_force && !MayBeReplaced(arguments.m_output))
        throw CommandError(kExitFailed,
                           fmt::format("'{}' is there and no MBTiles file", arguments.m_output),
                           "Give another name, or --force to replace it all the same.");
}

class Watcher : public KxC::KxRawDataTileVisitor
{
public:
    Watcher(const std::string& what, unsigned long long total) : m_progress(what, total) {}

    bool Visit(int, int, int, const unsigned char*, unsigned int) override
    {
        m_progress.Next();
        return true;
    }

private:
    Progress m_progress;
};

KxC::KxRawDataSubTreeInfo FindSubTree(const KxC::KxTSDParamItem& source)
{
    for (const auto& info : KxC::m_gRawDataTypeCacheManager.ListSubTrees(kTiles))
        if (info.m_strName == source.m_strHashKey && (info.m_nTiles > 0 || !info.m_bReadable))
            return info;
    throw CommandError(
        kExitFailed,
        fmt::format("no tile of the source is kept in '{}'", KxC::KxFile::m_strAppCachePath.Cstr()),
        "Fetch some first, as with 'kxtile tile SOURCE COLUMN/ROW/LEVEL'.");
}

[[noreturn]] void ThrowFailure(KxRawDataTreeResult result,
                               const ExportArguments& arguments,
                               const KxC::KxRawDataSubTreeInfo& info,
                               const KxRawDataExportReport& report)
{
    if (result == KxC::KxRawDataTreeResult_Failed)
        throw CommandError(kExitFailed,
                           fmt::format("cannot write '{}': {}",
                                       arguments.m_output,
                                       report.m_strError.IsEmpty() != 0 ? "the cache is busy"
                                                                        : report.m_strError.Cstr()),
                           "Check that the folder exists, may be written, and has room.");
    throw CommandError(kExitFailed,
                       fmt::format("cannot read '{}'", info.m_strPath.Cstr()),
                       "'kxtile cache verify' tells what is wrong with it.");
}

void PrintReport(const GlobalOptions& options,
                 const std::string& path,
                 const KxRawDataExportReport& report)
{
    const KxC::KxRect2d& bounds = report.m_bounds;
    if (options.m_json)
        PrintJson({{"file", path},
                   {"tiles", report.m_nTiles},
                   {"pictures", report.m_nPictures},
                   {"skipped", report.m_nSkipped},
                   {"format", report.m_strFormat.Cstr()},
                   {"minzoom", report.m_nMinLevel},
                   {"maxzoom", report.m_nMaxLevel},
                   {"bounds", {bounds.m_dLeft, bounds.m_dBottom, bounds.m_dRight, bounds.m_dTop}}});
    else
        fmt::print("{}: {} tile{}, levels {} to {}\n",
                   path,
                   report.m_nTiles,
                   report.m_nTiles == 1 ? "" : "s",
                   report.m_nMinLevel,
                   report.m_nMaxLevel);
    if (report.m_nSkipped > 0)
        fmt::print(stderr,
                   "kxtile: warning: {} tiles were left out; see 'kxtile cache verify'\n",
                   report.m_nSkipped);
}

std::string NameFor(const ExportArguments& arguments,
                    const KxC::KxTSDParamItem& source,
                    const KxC::KxRawDataSubTreeInfo& info)
{
    if (!arguments.m_name.empty())
        return arguments.m_name;
    if (source.m_strAttr1.IsEmpty() == 0)
        return arguments.m_source.GetSecrets().Mask(source.m_strAttr1.Cstr());
    return info.m_strDescription.IsEmpty() != 0 ? info.m_strName.Cstr()
                                                : info.m_strDescription.Cstr();
}

void RunExport(const GlobalOptions& options, const ExportArguments& arguments)
{
    const KxC::KxTSDParamItem& source = *arguments.m_source.Load(SourceUse::Describe);
    CheckArguments(arguments, source);
    const KxC::KxRawDataSubTreeInfo info = FindSubTree(source);
    const KxC::KxRawDataExportOptions exportOptions{
        arguments.m_output.c_str(),
        NameFor(arguments, source, info).c_str(),
        "Tiles kept by kxtile",
        arguments.m_source.GetSecrets().Mask(source.m_strAttr2.Cstr()).c_str()};
    KxRawDataExportReport report;
    KxRawDataTreeResult result = KxC::KxRawDataTreeResult_Failed;
    {
        Watcher watcher(arguments.m_output, info.m_nTiles);
        result = KxC::m_gRawDataTypeCacheManager.ExportSubTree(
            kTiles, source.m_strHashKey, exportOptions, watcher, report);
    }
    if (result != KxC::KxRawDataTreeResult_Done)
        ThrowFailure(result, arguments, info, report);
    PrintReport(options, arguments.m_output, report);
}

} // namespace

void AddCacheExportCommand(CLI::App& cache, const GlobalOptions& options)
{
    CLI::App* command =
        cache.add_subcommand("export", "Write the tiles kept of a source as an MBTiles file");
    const auto arguments = std::make_shared<ExportArguments>();
    arguments->m_source.AddTo(*command);
    command->add_option("-o,--output", arguments->m_output, "File to write, FILE.mbtiles")
        ->required();
    command->add_option("--name",
                        arguments->m_name,
                        "Name for people, in the file's metadata (the definition's own)");
    command->add_flag("--force", arguments->m_force, "Replace also what is no MBTiles file");
    command->footer("Only sources on the Web Mercator grid without datum shift.\nExamples:\n"
                    "  kxtile cache export osm.toml -o osm.mbtiles\n"
                    "  kxtile cache export 'https://tile.example.org/{$z}/{$x}/{$y}.png' -o "
                    "example.mbtiles");
    command->callback([&options, arguments] { RunExport(options, *arguments); });
}

} // namespace KxTileHost
