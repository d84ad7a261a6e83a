// SPDX-License-Identifier: MIT
#include "Command.h"
#include "GeoPoint.h"
#include "KxMath.h"
#include "KxTileFetcher.h"
#include "SourceArgument.h"
#include "SourceGrid.h"
#include "TileUrl.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <array>
#include <memory>
#include <numbers>
#include <vector>

namespace KxTileHost {

namespace {

constexpr double kDegreesPerRadian = 180.0 / std::numbers::pi;
constexpr std::array kDatums{KxC::KxDatum_WGS84, KxC::KxDatum_GCJ02, KxC::KxDatum_BD09};

struct LocateArguments
{
    std::string m_place;
    std::string m_crs; ///< empty for longitude and latitude
    int m_level = 0;
    SourceArgument m_source;
};

/// The place in one grid on one datum.
struct Row
{
    int m_scheme;
    int m_datum;
    GridPosition m_position;
};

std::vector<Row> LocateEverywhere(const KxC::KxPoint2d& metres, int level)
{
    std::vector<Row> rows;
    for (const int scheme : {kSchemeWebMercator, kSchemeBaidu, kSchemeGeographic})
        for (const int datum : kDatums)
            // The geographic grid is never shifted: one row says it all.
            if (scheme != kSchemeGeographic || datum == KxC::KxDatum_WGS84)
                rows.push_back({scheme, datum, Locate(scheme, datum, metres, level)});
    return rows;
}

/// The place in degrees of a datum.
GeoPoint OnDatum(const GeoPoint& place, int datum)
{
    GeoPoint shifted;
    KxC::KxMath::GetDeviationCoord(datum,
                                   place.m_lon / kDegreesPerRadian,
                                   place.m_lat / kDegreesPerRadian,
                                   shifted.m_lon,
                                   shifted.m_lat);
    return {shifted.m_lon * kDegreesPerRadian, shifted.m_lat * kDegreesPerRadian};
}

/// The row as services count it that begin in the north; none in the Baidu grid.
nlohmann::ordered_json NorthRow(const Row& row, int level)
{
    if (GridOf(row.m_scheme) == GridKind::Baidu || !row.m_position.m_inside)
        return nullptr;
    return (1 << level) - 1 - row.m_position.Row();
}

nlohmann::ordered_json ToJson(const Row& row, int level)
{
    nlohmann::ordered_json object{{"grid", NameOf(GridOf(row.m_scheme))},
                                  {"datum", NameOfDatum(row.m_datum)},
                                  {"inside", row.m_position.m_inside}};
    if (!row.m_position.m_inside)
        return object;
    object["column"] = row.m_position.m_column;
    object["row_from_south"] = row.m_position.m_row;
    object["tile"] = {row.m_position.Column(), row.m_position.Row(), level};
    object["row_from_north"] = NorthRow(row, level);
    if (IsStandardTiling(row.m_scheme, row.m_datum))
        object["quadkey"] =
            KxC::KxTileFetcher::BingMapTileToQuadKey(
                (1 << level) - 1 - row.m_position.Row(), row.m_position.Column(), level)
                .Cstr();
    return object;
}

void PrintRow(const Row& row, int level)
{
    const std::string grid = NameOf(GridOf(row.m_scheme));
    if (!row.m_position.m_inside) {
        fmt::print("{:<13} {:<7} outside\n", grid, NameOfDatum(row.m_datum));
        return;
    }
    const nlohmann::ordered_json north = NorthRow(row, level);
    fmt::print("{:<13} {:<7} {:>17.6f} {:>17.6f} {:>11} {:>11} {:>11}\n",
               grid,
               NameOfDatum(row.m_datum),
               row.m_position.m_column,
               row.m_position.m_row,
               row.m_position.Column(),
               row.m_position.Row(),
               north.is_null() ? "-" : north.dump());
}

void PrintTable(const GeoPoint& place, int level, const std::vector<Row>& rows)
{
    fmt::print("{:<21} {:>17} {:>17}\n", "datum", "longitude", "latitude");
    for (const int datum : kDatums) {
        const GeoPoint shifted = OnDatum(place, datum);
        fmt::print(
            "{:<21} {:>17.9f} {:>17.9f}\n", NameOfDatum(datum), shifted.m_lon, shifted.m_lat);
    }
    fmt::print("\n{:<13} {:<7} {:>17} {:>17} {:>11} {:>11} {:>11}\n",
               "grid",
               "datum",
               "column",
               "row (south)",
               "column",
               "from south",
               "from north");
    for (const Row& row : rows)
        PrintRow(row, level);
}

/// The place in a source's own grid with the tile's URL, free of secrets.
struct SourceTilePlace
{
    Row m_row;
    std::string m_url;
};

SourceTilePlace LocateInSource(const LocateArguments& arguments, const KxC::KxPoint2d& metres)
{
    KxC::KxTSDParamItem* source = arguments.m_source.Load(SourceUse::Describe);
    SourceTilePlace place{
        {source->m_nTileScheme,
         source->m_nDatum,
         Locate(source->m_nTileScheme, source->m_nDatum, metres, arguments.m_level)},
        {}};
    const GridPosition& position = place.m_row.m_position;
    if (!position.m_inside)
        throw CommandError(kExitNoTile,
                           fmt::format("'{}' has no tile at {} on level {}",
                                       arguments.m_source.GetText(),
                                       arguments.m_place,
                                       arguments.m_level));
    const KxC::KxString url =
        KxC::KxTileFetcher::GetURL(source, arguments.m_level, position.Row(), position.Column());
    if (url.IsEmpty() != 0)
        ThrowNoUrl(*source);
    place.m_url = arguments.m_source.GetSecrets().Mask(url.Cstr());
    return place;
}

void PrintLocations(const GeoPoint& place,
                    const LocateArguments& arguments,
                    const std::vector<Row>& rows,
                    const SourceTilePlace* source)
{
    PrintTable(place, arguments.m_level, rows);
    if (source == nullptr)
        return;
    fmt::print("\n{}\n", arguments.m_source.GetText());
    PrintRow(source->m_row, arguments.m_level);
    fmt::print("{}\n", source->m_url);
}

void PrintLocationsAsJson(const GeoPoint& place,
                          const LocateArguments& arguments,
                          const std::vector<Row>& rows,
                          const SourceTilePlace* source)
{
    nlohmann::ordered_json answer{
        {"longitude", place.m_lon}, {"latitude", place.m_lat}, {"level", arguments.m_level}};
    for (const int datum : kDatums) {
        const GeoPoint shifted = OnDatum(place, datum);
        answer["datums"].push_back({{"datum", NameOfDatum(datum)},
                                    {"longitude", shifted.m_lon},
                                    {"latitude", shifted.m_lat}});
    }
    for (const Row& row : rows)
        answer["grids"].push_back(ToJson(row, arguments.m_level));
    if (source != nullptr) {
        answer["source"] = ToJson(source->m_row, arguments.m_level);
        answer["source"]["source"] = arguments.m_source.GetText();
        answer["source"]["url"] = source->m_url;
    }
    PrintJson(answer);
}

void RunLocate(const GlobalOptions& options, const LocateArguments& arguments)
{
    const GeoPoint place = arguments.m_crs.empty()
                               ? ParseGeoPoint(arguments.m_place)
                               : ParsePlaceIn(arguments.m_crs, arguments.m_place);
    const KxC::KxPoint2d metres = place.ToWebMercator();
    const std::vector<Row> rows = LocateEverywhere(metres, arguments.m_level);
    std::unique_ptr<SourceTilePlace> source;
    if (!arguments.m_source.GetText().empty())
        source = std::make_unique<SourceTilePlace>(LocateInSource(arguments, metres));
    const auto print = options.m_json ? PrintLocationsAsJson : PrintLocations;
    print(place, arguments, rows, source.get());
}

} // namespace

void AddLocateCommand(CLI::App& app, const GlobalOptions& options)
{
    CLI::App* command =
        app.add_subcommand("locate", "Tell column and row of a place in every grid and datum");
    const auto arguments = std::make_shared<LocateArguments>();
    command->add_option("PLACE", arguments->m_place, "LONGITUDE,LATITUDE in degrees, WGS 84")
        ->required();
    arguments->m_source.AddTo(*command, SourceArgument::kMayBeLeftOut);
    AddLevelOption(*command, arguments->m_level);
    command->add_option("--crs",
                        arguments->m_crs,
                        "Coordinate system of PLACE: EPSG:32650, a PROJ string, WKT, a .prj file");
    command->footer("Rows are counted from the south edge of the grid, in the Baidu grid from its "
                    "origin\nnorthward; the last column has the row as counted from the north. "
                    "With a SOURCE, the\ntile's URL is told too.\n"
                    "Examples:\n"
                    "  kxtile locate 116.3975,39.9087 --level 15\n"
                    "  kxtile locate 116.3975,39.9087 --level 15 city.toml --json\n"
                    "  kxtile locate 448500,4418000 --crs EPSG:32650 --level 15");
    command->callback([&options, arguments] { RunLocate(options, *arguments); });
}

} // namespace KxTileHost
