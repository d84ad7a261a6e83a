// SPDX-License-Identifier: MIT
#include "Command.h"
#include "EarthSource.h"
#include "GeoPoint.h"
#include "KxGeFetcher.h"
#include "SourceArgument.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

namespace KxTileHost {

namespace {

struct DatesArguments
{
    std::string m_place;
    std::string m_source;
    int m_level = 0;
};

/// A tile of the square of 360 x 360 degrees.
struct EarthTile
{
    int m_level;
    int m_row; ///< from the south
    int m_col;

    int RowFromNorth() const { return (1 << m_level) - 1 - m_row; }
};

/// Index of the tile that holds an angle counted from -180 degrees; the far edge is the last one's.
int IndexOf(double degrees, int level)
{
    const int tilesPerAxis = 1 << level;
    const double index = std::floor((degrees + 180.0) / 360.0 * tilesPerAxis);
    return std::clamp(static_cast<int>(index), 0, tilesPerAxis - 1);
}

EarthTile TileAt(const GeoPoint& place, int level)
{
    return {level, IndexOf(place.m_lat, level), IndexOf(place.m_lon, level)};
}

/// Lists the days at a tile: of the server that an address names, of a definition's, and without
/// either, of the library's own choice.
KxC::NetError
ListDates(std::vector<KxC::KxTime>& dates, const std::string& source, const EarthTile& tile)
{
    KxC::KxGeFetcher plain;
    KxC::KxGeFetcher* fetcher = &plain;
    if (source.find("://") != std::string::npos) {
        KxC::KxGeFetcher::SetServer(source.c_str());
    } else if (!source.empty()) {
        fetcher = SourceArgument(source).Load()->m_pGeFetcher;
        if (fetcher == nullptr)
            throw CommandError(kExitFailed,
                               fmt::format("'{}' is no source of history imagery", source),
                               "Its definition would say scheme = 8.");
    }
    return fetcher->ListDates(dates, tile.m_level, tile.m_row, tile.m_col);
}

void PrintDates(const GlobalOptions& options,
                const GeoPoint& place,
                const EarthTile& tile,
                const std::vector<KxC::KxTime>& dates)
{
    std::vector<std::string> texts(dates.size());
    std::transform(dates.begin(), dates.end(), texts.begin(), FormatDate);
    if (options.m_json)
        return PrintJson({{"longitude", place.m_lon},
                          {"latitude", place.m_lat},
                          {"x", tile.m_col},
                          {"y", tile.RowFromNorth()},
                          {"z", tile.m_level},
                          {"dates", texts}});
    for (const std::string& text : texts)
        fmt::print("{}\n", text);
}

void RunDates(const GlobalOptions& options, const DatesArguments& arguments)
{
    const GeoPoint place = ParseGeoPoint(arguments.m_place);
    const EarthTile tile = TileAt(place, arguments.m_level);
    std::vector<KxC::KxTime> dates;
    const KxC::NetError result = ListDates(dates, arguments.m_source, tile);
    if (result == KxC::NetError_NoData)
        throw CommandError(
            kExitNoTile,
            fmt::format("no dated imagery at {} on level {}", arguments.m_place, arguments.m_level),
            "Coarser levels may have some.");
    if (result != KxC::NetError_Success)
        throw SourceArgument(arguments.m_source)
            .WithoutSecrets({kExitFailed, KxC::KxGeFetcher::GetLastFetchInfo().m_strCause.Cstr()});
    PrintDates(options, place, tile, dates);
}

void AddDates(CLI::App& history, const GlobalOptions& options)
{
    CLI::App* command =
        history.add_subcommand("dates", "List the days of imagery at a place, newest first");
    const auto arguments = std::make_shared<DatesArguments>();
    command->add_option("--at", arguments->m_place, "LONGITUDE,LATITUDE in degrees, WGS 84")
        ->required();
    AddLevelOption(*command, arguments->m_level);
    command->add_option("SOURCE",
                        arguments->m_source,
                        "Definition file of scheme 8, or the server's address (that of the "
                        "environment, else the public one)");
    command->footer("Levels are those of the square of 360 x 360 degrees. Exit codes: 0 there are "
                    "days, 1 failed,\n3 no dated imagery there.\n"
                    "Example:\n  kxtile history dates --at 116.3975,39.9087 --level 15 "
                    "http://127.0.0.1:8080/earth");
    command->callback([&options, arguments] { RunDates(options, *arguments); });
}

} // namespace

void AddHistoryCommand(CLI::App& app, const GlobalOptions& options)
{
    CLI::App* history = app.add_subcommand("history", "Look at history imagery");
    history->require_subcommand(1);
    history->footer("Example:\n  kxtile history dates --at 116.3975,39.9087 --level 15 "
                    "http://127.0.0.1:8080/earth\n"
                    "The library's environment variable KXTILE_EARTH_URL names the server, too.");
    AddDates(*history, options);
}

} // namespace KxTileHost
