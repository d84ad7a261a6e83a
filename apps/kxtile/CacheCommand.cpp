// SPDX-License-Identifier: MIT
#include "CacheCommand.h"

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
using KxC::KxRawDataSubTreeInfo;

void PrintInfoAsJson(const std::vector<KxRawDataSubTreeInfo>& subTrees,
                     const std::vector<KxRawDataDamagedFile>& damaged)
{
    nlohmann::ordered_json setAside = nlohmann::ordered_json::array();
    for (const KxRawDataDamagedFile& file : damaged)
        setAside.push_back({{"file", file.m_strPath.Cstr()}, {"bytes", file.m_nBytes}});
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (const KxRawDataSubTreeInfo& info : subTrees)
        list.push_back({{"name", info.m_strName.Cstr()},
                        {"description", info.m_strDescription.Cstr()},
                        {"file", info.m_strPath.Cstr()},
                        {"tiles", info.m_nTiles},
                        {"no_data", info.m_nNoData},
                        {"bytes", info.m_nBytes},
                        {"readable", info.m_bReadable}});
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

void PrintSources(const std::vector<KxRawDataSubTreeInfo>& subTrees)
{
    if (subTrees.empty()) {
        fmt::print("  no tiles are kept here\n");
        return;
    }
    fmt::print("  {:>9} {:>9} {:>11}  {}\n", "tiles", "no tile", "on disk", "source");
    for (const KxRawDataSubTreeInfo& info : subTrees)
        fmt::print("  {:>9} {:>9} {:>11}  {}{}\n",
                   info.m_nTiles,
                   info.m_nNoData,
                   ReadableBytes(info.m_nBytes),
                   ReadableName(info),
                   info.m_bReadable ? "" : " (cannot be read; see 'kxtile cache verify')");
}

void RunInfo(const GlobalOptions& options)
{
    const auto subTrees = KxC::m_gRawDataTypeCacheManager.ListSubTrees(kTiles);
    const auto damaged = KxC::m_gRawDataTypeCacheManager.ListDamagedFiles(kTiles);
    if (options.m_json) {
        PrintInfoAsJson(subTrees, damaged);
        return;
    }
    fmt::print("{}\n", KxC::KxFile::m_strAppCachePath.Cstr());
    PrintSources(subTrees);
    PrintDamaged(damaged);
}

struct ClearArguments
{
    SourceArgument m_source;
    bool m_all = false;
};

/// What there is to clear: of the source, or of all.
std::vector<KxRawDataSubTreeInfo> SubTreesToClear(const ClearArguments& arguments)
{
    std::vector<KxRawDataSubTreeInfo> subTrees;
    const KxC::KxString only = arguments.m_all
                                   ? KxC::KxString()
                                   : arguments.m_source.Load(SourceUse::Describe)->m_strHashKey;
    for (const KxRawDataSubTreeInfo& info : KxC::m_gRawDataTypeCacheManager.ListSubTrees(kTiles)) {
        const bool keepsSomething = info.m_nTiles > 0 || info.m_nNoData > 0 || !info.m_bReadable;
        if (keepsSomething && (arguments.m_all || info.m_strName == only))
            subTrees.push_back(info);
    }
    return subTrees;
}

void PrintCleared(const std::vector<KxRawDataSubTreeInfo>& cleared)
{
    unsigned long long tiles = 0;
    for (const KxRawDataSubTreeInfo& info : cleared)
        tiles += info.m_nTiles;
    if (cleared.empty())
        fmt::print("nothing was kept\n");
    else
        fmt::print("cleared {} source{}, {} tile{}\n",
                   cleared.size(),
                   cleared.size() == 1 ? "" : "s",
                   tiles,
                   tiles == 1 ? "" : "s");
}

void RunClear(const GlobalOptions& options, const ClearArguments& arguments)
{
    if (arguments.m_all != arguments.m_source.GetText().empty())
        throw CommandError(kExitWrongUsage, "name one SOURCE to forget, or --all for every source");
    const std::vector<KxRawDataSubTreeInfo> subTrees = SubTreesToClear(arguments);
    for (const KxRawDataSubTreeInfo& info : subTrees)
        if (KxC::m_gRawDataTypeCacheManager.ClearSubTree(kTiles, info.m_strName) == 0)
            throw CommandError(kExitFailed,
                               fmt::format("cannot clear '{}'", info.m_strPath.Cstr()),
                               "Check that the folder may be written, and that the file is the "
                               "cache's: 'kxtile cache verify' tells.");
    if (options.m_json)
        PrintJson({{"cleared", subTrees.size()}});
    else
        PrintCleared(subTrees);
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

std::string ReadableName(const KxRawDataSubTreeInfo& info)
{
    const std::string name = info.m_strName.Cstr();
    return info.m_strDescription.IsEmpty() != 0
               ? name
               : fmt::format("{} ({})", info.m_strDescription.Cstr(), name);
}

void AddCacheCommand(CLI::App& app, const GlobalOptions& options)
{
    CLI::App* cache =
        app.add_subcommand("cache", "Look at the disk cache, check, export and clear it");
    cache->require_subcommand(1);
    cache->footer("Examples:\n  kxtile cache info\n  kxtile cache verify\n"
                  "  kxtile cache export osm.toml -o osm.mbtiles\n  kxtile cache clear --all");
    CLI::App* info = cache->add_subcommand("info", "List what is kept, by source");
    info->footer("Example:\n  kxtile cache info --json");
    info->callback([&options] { RunInfo(options); });
    AddCacheVerifyCommand(*cache, options);
    AddCacheExportCommand(*cache, options);
    CLI::App* clear = cache->add_subcommand("clear", "Forget the tiles of a source, or of all");
    const auto arguments = std::make_shared<ClearArguments>();
    arguments->m_source.AddTo(*clear);
    clear->get_option("SOURCE")->required(false);
    clear->add_flag("--all", arguments->m_all, "Forget the tiles of every source");
    clear->footer(
        "Examples:\n  kxtile cache clear 'http://127.0.0.1:8080/xyz/marble/{$z}/{$x}/{$y}.png'\n"
        "  kxtile cache clear --all");
    clear->callback([&options, arguments] { RunClear(options, *arguments); });
}

} // namespace KxTileHost
