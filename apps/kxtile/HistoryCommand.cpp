// SPDX-License-Identifier: MIT
#include "Command.h"
#include "EarthSource.h"
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

constexpr int kMaxLevel = 30;

struct DatesArguments
{
    std::string m_place;
    std::string m_source;
    int m_level = 0;
};

/// A place on the globe, in degrees.
struct Place
{
    double m_longitude;
    double m_latitude;
};

/// A tile of the square of 360 x 360 degrees.
struct EarthTile
{
    int m_level;
    int m_row; ///< from the south
    int m_col;

    int RowFromNorth() const { return (1 << m_level) - 1 - m_row; }
};

bool ReadDegrees(const std::string& text, double limit, double& degrees)
{
    return CLI::detail::lexical_cast(text, degrees) && std::abs(degrees) <= limit;
}

Place ParsePlace(const std::string& text)
{
    const std::size_t comma = std::min(text.find(','), text.size());
    Place place{};
    if (comma == text.size() || !ReadDegrees(text.substr(0, comma), 180.0, place.m_longitude) ||
        !ReadDegrees(text.substr(comma + 1), 90.0, place.m_latitude))
        throw CommandError(kExitWrongUsage,
                           fmt::format("'{}' is no place", text),
                           "Write LONGITUDE,LATITUDE in degrees, for instance 116.3975,39.9087.");
    return place;
}

/// Index of the tile that holds an angle counted from -180 degrees; the far edge is the last one's.
int IndexOf(double degrees, int level)
{
    const int tilesPerAxis = 1 << level;
    const double index = std::floor((degrees + 180.0) / 360.0 * tilesPerAxis);
    return std::clamp(static_cast<int>(index), 0, tilesPerAxis - 1);
}

EarthTile TileAt(const Place& place, int level)
{
    return {level, IndexOf(place.m_latitude, level), IndexOf(place.m_longitude, level)};
}

/// Requests go to the server that is named; without a name, to the library's own choice.
void ChooseServer(const std::string& source)
{
    if (source.find("://") != std::string::npos) {
        KxC::KxGeFetcher::SetServer(source.c_str());
        return;
    }
    if (!source.empty() && SourceArgument(source).Load()->m_nTileScheme != kSchemeEarthHistory)
        throw CommandError(kExitFailed,
                           fmt::format("'{}' is no source of history imagery", source),
                           "Its definition would say scheme = 8.");
}

void PrintDates(const GlobalOptions& options,
                const Place& place,
                const EarthTile& tile,
                const std::vector<KxC::KxTime>& dates)
{
    std::vector<std::string> texts(dates.size());
    std::transform(dates.begin(), dates.end(), texts.begin(), FormatDate);
    if (options.m_json)
        return PrintJson({{"longitude", place.m_longitude},
                          {"latitude", place.m_latitude},
                          {"x", tile.m_col},
                          {"y", tile.RowFromNorth()},
                          {"z", tile.m_level},
                          {"dates", texts}});
    for (const std::string& text : texts)
        fmt::print("{}\n", text);
}

void RunDates(const GlobalOptions& options, const DatesArguments& arguments)
{
    const Place place = ParsePlace(arguments.m_place);
    const EarthTile tile = TileAt(place, arguments.m_level);
    ChooseServer(arguments.m_source);
    KxC::KxGeFetcher fetcher;
    std::vector<KxC::KxTime> dates;
    const KxC::NetError result = fetcher.ListDates(dates, tile.m_level, tile.m_row, tile.m_col);
    if (result == KxC::NetError_NoData)
        throw CommandError(
            kExitFailed,
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
    command->add_option("--level", arguments->m_level, "Level of the square of 360 x 360 degrees")
        ->check(CLI::Range(0, kMaxLevel))
        ->required();
    command->add_option("SOURCE",
                        arguments->m_source,
                        "Definition file of scheme 8, or the server's address (that of the "
                        "environment, else the public one)");
    command->footer("Example:\n  kxtile history dates --at 116.3975,39.9087 --level 15 "
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
