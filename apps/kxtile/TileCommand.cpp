// SPDX-License-Identifier: MIT
#include "Command.h"
#include "EarthSource.h"
#include "FetchedTile.h"
#include "HostTile.h"
#include "OutputFile.h"
#include "SourceArgument.h"
#include "SourceGrid.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <filesystem>
#include <memory>

namespace KxTileHost {

namespace {

constexpr int kMaxSize = 8000; // whose square is KxImageData::kMaxPixels

struct TileArguments
{
    SourceArgument m_source;
    std::string m_address;
    std::string m_output;
    int m_size = 0; ///< pixels, 0 for the source's own
    bool m_blockCopy = false;
    bool m_raw = false;
};

/// The path as given; in a folder, and without any, a name made of the address.
std::string
OutputPath(const TileArguments& arguments, const HostTile& tile, const FetchedTile& fetched)
{
    const std::string name =
        fmt::format("{}_{}_{}{}", tile.m_z, tile.m_x, tile.m_y, fetched.m_bytes->GetExt().Cstr());
    if (arguments.m_output.empty())
        return name;
    std::error_code error;
    return std::filesystem::is_directory(arguments.m_output, error)
               ? (std::filesystem::path(arguments.m_output) / name).string()
               : arguments.m_output;
}

/// Null for a tile that is made of several.
nlohmann::ordered_json UrlOrNull(const std::string& url)
{
    return url.empty() ? nlohmann::ordered_json(nullptr) : nlohmann::ordered_json(url);
}

/// Null when no request was sent.
nlohmann::ordered_json StatusOrNull(int status)
{
    return status > 0 ? nlohmann::ordered_json(status) : nlohmann::ordered_json(nullptr);
}

void PrintTile(const GlobalOptions& options,
               const TileArguments& arguments,
               const HostTile& tile,
               const FetchedTile& fetched,
               const WrittenTile& written)
{
    if (options.m_json && written.m_path != "-") {
        nlohmann::ordered_json answer = {{"source", arguments.m_source.GetText()},
                                         {"x", tile.m_x},
                                         {"y", tile.m_y},
                                         {"z", tile.m_z},
                                         {"url", UrlOrNull(fetched.m_url)},
                                         {"from", fetched.m_from},
                                         {"http_status", StatusOrNull(fetched.m_httpStatus)},
                                         {"seconds", fetched.m_seconds},
                                         {"file", written.m_path},
                                         {"format", written.m_format},
                                         {"width", written.m_width},
                                         {"height", written.m_height},
                                         {"bytes", written.m_bytes}};
        if (!arguments.m_source.GetDate().empty()) {
            answer["date"] = arguments.m_source.GetDate();
            answer["imagery_dates"] = fetched.m_days;
        }
        PrintJson(answer);
        return;
    }
    // Standard output belongs to the picture when it goes there.
    std::FILE* const out = written.m_path == "-" ? stderr : stdout;
    if (out == stdout || options.m_verbose)
        fmt::print(out,
                   "{}: {} {} x {}, {} bytes, from {} in {:.0f} ms\n",
                   written.m_path,
                   written.m_format,
                   written.m_width,
                   written.m_height,
                   written.m_bytes,
                   fetched.m_from,
                   fetched.m_seconds * 1000.0);
    if (!options.m_verbose)
        return;
    const std::string status =
        fetched.m_httpStatus > 0 ? fmt::format(" (HTTP status {})", fetched.m_httpStatus) : "";
    fmt::print(stderr,
               "  {}{}\n",
               fetched.m_url.empty() ? "made of the tiles that it touches" : fetched.m_url,
               status);
}

/// Imagery of the very day that was asked for goes without saying.
void PrintDays(const std::string& date, const std::vector<std::string>& days)
{
    if (date.empty() || days.empty() || days == std::vector<std::string>{date})
        return;
    fmt::print(stderr, "kxtile: imagery of {}; {} was asked for\n", fmt::join(days, ", "), date);
}

/// Whether the service's own tile already is the wanted one.
bool IsOwnTile(const KxC::KxTSDParamItem& source, int size)
{
    return IsStandardTiling(source.m_nTileScheme, source.m_nDatum) && size == source.m_nTileSize;
}

FetchedTile Fetch(const GlobalOptions& options,
                  const TileArguments& arguments,
                  KxC::KxTSDParamItem& source,
                  const HostTile& tile)
{
    const int size = arguments.m_size > 0 ? arguments.m_size : source.m_nTileSize;
    if (arguments.m_raw || IsOwnTile(source, size))
        return FetchTileOf(source, tile, !options.m_noDiskCache, options.TimeoutMs());
    // The library copies blocks only of tiles of one size.
    const bool blockCopy = arguments.m_blockCopy && size == source.m_nTileSize;
    if (arguments.m_blockCopy && !blockCopy)
        fmt::print(stderr,
                   "kxtile: warning: blocks are copied only into tiles of the source's own size, "
                   "{}; each pixel is sampled\n",
                   source.m_nTileSize);
    return FetchAlignedTile(source, tile, {size, blockCopy, options.TimeoutMs()});
}

/// The tile, its URL and errors free of secrets.
FetchedTile FetchWithoutSecrets(const GlobalOptions& options,
                                const TileArguments& arguments,
                                KxC::KxTSDParamItem& source,
                                const HostTile& tile)
try {
    TakeFetchedDays(); // from here on they are this tile's
    FetchedTile fetched = Fetch(options, arguments, source, tile);
    fetched.m_days = TakeFetchedDays();
    fetched.m_url = arguments.m_source.GetSecrets().Mask(fetched.m_url);
    return fetched;
} catch (const CommandError& error) {
    throw arguments.m_source.WithoutSecrets(error);
}

void RunTile(const GlobalOptions& options, const TileArguments& arguments)
{
    if (!arguments.m_raw)
        ParseHostTile(arguments.m_address); // a wrong one is told before the source is read
    CheckOutputFormat(arguments.m_output);
    KxC::KxTSDParamItem* source = arguments.m_source.Load();
    const HostTile tile = arguments.m_raw ? ParseOwnTile(arguments.m_address, *source)
                                          : ParseHostTile(arguments.m_address);
    const FetchedTile fetched = FetchWithoutSecrets(options, arguments, *source, tile);
    const WrittenTile written = WriteTile(*fetched.m_bytes, OutputPath(arguments, tile, fetched));
    PrintTile(options, arguments, tile, fetched, written);
    PrintDays(arguments.m_source.GetDate(), fetched.m_days);
}

} // namespace

void AddTileCommand(CLI::App& app, const GlobalOptions& options)
{
    CLI::App* command = app.add_subcommand("tile", "Fetch one tile and write it as a picture");
    const auto arguments = std::make_shared<TileArguments>();
    arguments->m_source.AddTo(*command);
    command->add_option("ADDRESS", arguments->m_address, "COLUMN/ROW/LEVEL, row 0 in the north")
        ->required();
    command->add_option("-o,--output",
                        arguments->m_output,
                        "File (another extension than the tile's converts it), folder, or '-' for "
                        "standard output");
    CLI::Option* size =
        command
            ->add_option(
                "--size",
                arguments->m_size,
                "Edge of the wanted tile in pixels (the source's own; larger ones come from "
                "deeper levels)")
            ->check(CLI::Range(1, kMaxSize));
    CLI::Option* blockCopy =
        command->add_flag("--block-copy",
                          arguments->m_blockCopy,
                          "Copy blocks of a shifted source's tiles instead of sampling each pixel: "
                          "faster, less exact");
    command
        ->add_flag("--raw",
                   arguments->m_raw,
                   "The service's own tile of its own grid (Baidu: rows count northward from the "
                   "origin)")
        ->excludes(blockCopy)
        ->excludes(size);
    command->footer("Whatever the source's grid, datum and tile size, the tile is the one of the "
                    "Web Mercator\ntiling at that address; where the service has it ready, its "
                    "own bytes.\n"
                    "Examples:\n"
                    "  kxtile tile city.toml 26979/12416/15 --size 512 -o tile.png\n"
                    "  kxorigin --port 8080 &\n"
                    "  kxtile tile 'http://127.0.0.1:8080/tms/marble/{$z}/{$x}/{$y}.jpg' "
                    "--rows south 4/3/3 -o tile.webp\n"
                    "  kxtile tile http://127.0.0.1:8080/earth --date 2020-01-15 4/3/3");
    command->callback([&options, arguments] { RunTile(options, *arguments); });
}

} // namespace KxTileHost
