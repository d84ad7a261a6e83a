// SPDX-License-Identifier: MIT
#include "CacheCommand.h"

#include "CacheParts.h"
#include "Command.h"
#include "KxFile.h"
#include "KxRawDataTypeCache.h"
#include "SourceArgument.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <memory>

namespace KxTileHost {

namespace {

using KxC::KxRawDataDamagedFile;

void PrintInfoAsJson(const std::vector<CachePart>& parts,
                     const std::vector<KxRawDataDamagedFile>& damaged)
{
    nlohmann::ordered_json setAside = nlohmann::ordered_json::array();
    for (const KxRawDataDamagedFile& file : damaged)
        setAside.push_back({{"file", file.m_strPath.Cstr()}, {"bytes", file.m_nBytes}});
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (const CachePart& part : parts)
        list.push_back({{"name", part.m_info.m_strName.Cstr()},
                        {"kind", part.Kind()},
                        {"description", part.m_info.m_strDescription.Cstr()},
                        {"file", part.m_info.m_strPath.Cstr()},
                        {"tiles", part.m_info.m_nTiles},
                        {"no_data", part.m_info.m_nNoData},
                        {"bytes", part.m_info.m_nBytes},
                        {"readable", part.m_info.m_bReadable}});
    PrintJson({{"folder", KxC::KxFile::m_strAppCachePath.Cstr()},
               {"sources", list},
               {"set_aside", setAside}});
}

void PrintDamaged(const std::vector<KxRawDataDamagedFile>& damaged)
{
    if (damaged.empty())
        return;
    unsigned long long bytes = 0;
    for (const KxRawDataDamagedFile& file : damaged)
        bytes += file.m_nBytes;
    fmt::print("  {} damaged database{} set aside, {}; nothing reads them, they may be deleted:\n",
               damaged.size(),
               damaged.size() == 1 ? "" : "s",
               ReadableBytes(bytes));
    for (const KxRawDataDamagedFile& file : damaged)
        fmt::print("  {:>31}  {}\n", ReadableBytes(file.m_nBytes), file.m_strPath.Cstr());
}

void PrintParts(const std::vector<CachePart>& parts)
{
    if (parts.empty()) {
        fmt::print("  no tiles are kept here\n");
        return;
    }
    fmt::print("  {:>9} {:>9} {:>11}  {}\n", "tiles", "no tile", "on disk", "source");
    for (const CachePart& part : parts)
        fmt::print("  {:>9} {:>9} {:>11}  {}{}\n",
                   part.m_info.m_nTiles,
                   part.m_info.m_nNoData,
                   ReadableBytes(part.m_info.m_nBytes),
                   part.ReadableName(),
                   part.m_info.m_bReadable ? "" : " (cannot be read; see 'kxtile cache verify')");
}

void RunInfo(const GlobalOptions& options)
{
    const auto parts = ListCacheParts();
    const auto damaged = ListSetAside();
    if (options.m_json) {
        PrintInfoAsJson(parts, damaged);
        return;
    }
    fmt::print("{}\n", KxC::KxFile::m_strAppCachePath.Cstr());
    PrintParts(parts);
    PrintDamaged(damaged);
}

struct ClearArguments
{
    SourceArgument m_source;
    bool m_all = false;
};

/// What there is to clear: of the source, or of all.
std::vector<CachePart> PartsToClear(const ClearArguments& arguments)
{
    std::vector<CachePart> parts =
        arguments.m_all ? ListCacheParts() : ListCachePartsOf(arguments.m_source);
    std::erase_if(parts, [](const CachePart& part) {
        return part.m_info.m_nTiles == 0 && part.m_info.m_nNoData == 0 && part.m_info.m_bReadable;
    });
    return parts;
}

/// "2 sources, 12 tiles".
std::string Count(const std::vector<CachePart>& parts, const char* one, const char* several)
{
    unsigned long long tiles = 0;
    for (const CachePart& part : parts)
        tiles += part.m_info.m_nTiles;
    return fmt::format("{} {}, {} tile{}",
                       parts.size(),
                       parts.size() == 1 ? one : several,
                       tiles,
                       tiles == 1 ? "" : "s");
}

void PrintCleared(const std::vector<CachePart>& cleared)
{
    std::vector<CachePart> services;
    std::vector<CachePart> made;
    for (const CachePart& part : cleared)
        (part.IsOfGateway() ? made : services).push_back(part);
    if (!services.empty())
        fmt::print("cleared {}\n", Count(services, "source", "sources"));
    if (!made.empty())
        fmt::print("cleared {} made by serve\n", Count(made, "part", "parts"));
}

void RunClear(const GlobalOptions& options, const ClearArguments& arguments)
{
    if (arguments.m_all != arguments.m_source.GetText().empty())
        throw CommandError(kExitWrongUsage, "name one SOURCE to forget, or --all for every source");
    const std::vector<CachePart> parts = PartsToClear(arguments);
    for (const CachePart& part : parts)
        if (KxC::m_gRawDataTypeCacheManager.ClearSubTree(part.m_type, part.m_info.m_strName) == 0)
            throw CommandError(kExitFailed,
                               fmt::format("cannot clear '{}'", part.m_info.m_strPath.Cstr()),
                               "Check that the folder may be written, and that the file is the "
                               "cache's: 'kxtile cache verify' tells.");
    if (options.m_json)
        PrintJson({{"cleared", parts.size()}});
    else if (parts.empty())
        PrintNothingKept(arguments.m_source);
    else
        PrintCleared(parts);
}

} // namespace

std::string ReadableBytes(unsigned long long bytes)
{
    if (bytes < 1024)
        return fmt::format("{} B", bytes);
    double value = static_cast<double>(bytes) / 1024.0;
    const char* unit = "KiB";
    for (const char* next : {"MiB", "GiB", "TiB"}) {
        if (value < 1024.0)
            break;
        value /= 1024.0;
        unit = next;
    }
    return fmt::format("{:.1f} {}", value, unit);
}

void AddCacheCommand(CLI::App& app, const GlobalOptions& options)
{
    CLI::App* cache =
        app.add_subcommand("cache", "Look at the disk cache, check, export and clear it");
    cache->require_subcommand(1);
    cache->footer("Examples:\n  kxtile cache info\n  kxtile cache verify\n"
                  "  kxtile cache export osm.toml -o osm.mbtiles\n  kxtile cache clear --all");
    CLI::App* info = cache->add_subcommand("info", "List what is kept, by source");
    info->footer("Also what 'kxtile serve' made of the sources, by size and format.\n"
                 "Example:\n  kxtile cache info --json");
    info->callback([&options] { RunInfo(options); });
    AddCacheVerifyCommand(*cache, options);
    AddCacheExportCommand(*cache, options);
    CLI::App* clear = cache->add_subcommand("clear", "Forget the tiles of a source, or of all");
    const auto arguments = std::make_shared<ClearArguments>();
    arguments->m_source.AddTo(*clear);
    clear->get_option("SOURCE")->required(false);
    clear->add_flag("--all", arguments->m_all, "Forget the tiles of every source");
    clear->footer(
        "Of a source also what 'kxtile serve' made of it, as its file is now; of a raster that "
        "alone.\n--all forgets what is left of earlier states, too.\n"
        "Examples:\n  kxtile cache clear 'http://127.0.0.1:8080/xyz/marble/{$z}/{$x}/{$y}.png'\n"
        "  kxtile cache clear orthophoto.tif\n  kxtile cache clear --all");
    clear->callback([&options, arguments] { RunClear(options, *arguments); });
}

} // namespace KxTileHost
