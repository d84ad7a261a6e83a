// SPDX-License-Identifier: MIT
#include "Command.h"
#include "HostTile.h"
#include "KxFile.h"
#include "KxTileFetcher.h"
#include "OutputFile.h"
#include "RasterArgument.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <filesystem>
#include <memory>

namespace KxTileHost {

namespace {

constexpr int kTileSize = 256;
constexpr int kMaxSize = 8000; // whose square is KxImageData::kMaxPixels

struct RasterArguments
{
    std::string m_raster;
    std::string m_address;
    std::string m_output;
    int m_size = kTileSize;
};

const char* NameOf(KxC::KxEGeoReferenceType type)
{
    switch (type) {
    case KxC::KxEGeoReferenceType_None:
        return "unknown";
    case KxC::KxEGeoReferenceType_Geographic:
        return "geographic";
    case KxC::KxEGeoReferenceType_Projected:
        return "projected";
    case KxC::KxEGeoReferenceType_WebMercatorTiles:
        return "Web Mercator tiles";
    }
    return "unknown";
}

nlohmann::ordered_json NumberOrNull(int number)
{
    return number > 0 ? nlohmann::ordered_json(number) : nlohmann::ordered_json(nullptr);
}

nlohmann::ordered_json CrsAsJson(const KxC::KxRasterDescription& description)
{
    if (description.m_strCrsName.IsEmpty() != 0)
        return nullptr;
    return {{"name", description.m_strCrsName.Cstr()},
            {"epsg", NumberOrNull(description.m_nEpsg)},
            {"assumed", description.m_bCrsAssumed}};
}

void PrintInfoAsJson(const std::string& path, KxC::KxRasterDataAccessor& raster)
{
    const GeoBounds bounds = ExtentOf(raster);
    const KxC::KxRasterDescription description = DescriptionOf(raster);
    nlohmann::ordered_json answer{
        {"raster", path},
        {"type", NameOf(raster.GetGeoReferenceType())},
        {"crs", CrsAsJson(description)},
        {"width", NumberOrNull(description.m_nWidth)},
        {"height", NumberOrNull(description.m_nHeight)},
        {"bands", NumberOrNull(description.m_nBands)},
        {"band_type", description.m_strBandType.Cstr()},
        {"min_level", raster.GetMinLevel()},
        {"max_level", raster.GetMaxLevel()},
        {"bounds", {bounds.m_west, bounds.m_south, bounds.m_east, bounds.m_north}},
        {"min_metres_per_pixel", MetresPerPixel(raster.GetMaxLevel())}};
    if (description.m_strBandType.IsEmpty() != 0)
        answer["band_type"] = nullptr;
    PrintJson(answer);
}

std::string CrsInWords(const KxC::KxRasterDescription& description)
{
    if (description.m_strCrsName.IsEmpty() != 0)
        return "unknown";
    std::string words = Printable(description.m_strCrsName.Cstr());
    if (description.m_nEpsg > 0)
        words += fmt::format(" (EPSG:{})", description.m_nEpsg);
    if (description.m_bCrsAssumed)
        words += ", assumed: the file does not say it (a .prj file beside it would)";
    return words;
}

std::string SizeInWords(const KxC::KxRasterDescription& description)
{
    if (description.m_nWidth == 0)
        return "unknown";
    return fmt::format("{} x {} pixels, {} band{} of {}",
                       description.m_nWidth,
                       description.m_nHeight,
                       description.m_nBands,
                       description.m_nBands == 1 ? "" : "s",
                       description.m_strBandType.Cstr());
}

void PrintInfo(const std::string& path, KxC::KxRasterDataAccessor& raster)
{
    const GeoBounds bounds = ExtentOf(raster);
    const KxC::KxRasterDescription description = DescriptionOf(raster);
    fmt::print("{}\n"
               "  georeference  {}\n"
               "  system        {}\n"
               "  size          {}\n"
               "  longitude     {:.9g} to {:.9g}{}\n"
               "  latitude      {:.9g} to {:.9g}\n"
               "  levels        {} to {} (down to {} metres a pixel at the equator)\n",
               path,
               NameOf(raster.GetGeoReferenceType()),
               CrsInWords(description),
               SizeInWords(description),
               bounds.m_west,
               bounds.m_east,
               bounds.CrossesAntimeridian() ? ", across the antimeridian" : "",
               bounds.m_south,
               bounds.m_north,
               raster.GetMinLevel(),
               raster.GetMaxLevel(),
               ShortNumber(MetresPerPixel(raster.GetMaxLevel())));
}

void RunInfo(const GlobalOptions& options, const RasterArguments& arguments)
{
    KxC::KxRasterDataAccessor& raster = OpenRasterFile(arguments.m_raster, AssumedCrs::Pass);
    const auto print = options.m_json ? PrintInfoAsJson : PrintInfo;
    print(arguments.m_raster, raster);
}

/// @throws CommandError where the raster has nothing there
std::unique_ptr<KxC::KxRawData> CutTile(const RasterArguments& arguments, const HostTile& tile)
{
    KxC::KxRasterDataAccessor& raster = OpenRasterFile(arguments.m_raster);
    KxC::KxRawData* bytes = nullptr;
    const bool done =
        KxC::KxTileFetcher::FetchTileFromRaster(
            bytes, arguments.m_raster.c_str(), tile.m_x, tile.m_y, tile.m_z, arguments.m_size) != 0;
    std::unique_ptr<KxC::KxRawData> cut(bytes);
    if (!done)
        throw CommandError(kExitFailed,
                           fmt::format("cannot read the tile {} of '{}'",
                                       arguments.m_address,
                                       arguments.m_raster));
    if (cut == nullptr || cut->GetSize() == 0)
        throw CommandError(
            kExitNoTile,
            fmt::format("'{}' has nothing at {}", arguments.m_raster, arguments.m_address),
            fmt::format("It has levels {} to {}; `kxtile raster info` tells where "
                        "it lies.",
                        raster.GetMinLevel(),
                        raster.GetMaxLevel()));
    return cut;
}

std::string
OutputPath(const RasterArguments& arguments, const HostTile& tile, const KxC::KxRawData& cut)
{
    return arguments.m_output.empty()
               ? fmt::format("{}_{}_{}{}", tile.m_z, tile.m_x, tile.m_y, cut.GetExt().Cstr())
               : arguments.m_output;
}

void RunTile(const GlobalOptions& options, const RasterArguments& arguments)
{
    CheckOutputFormat(arguments.m_output);
    CheckNotItsSource(arguments.m_output, arguments.m_raster);
    const HostTile tile = ParseHostTile(arguments.m_address);
    const auto cut = CutTile(arguments, tile);
    const WrittenTile written = WriteTile(*cut, OutputPath(arguments, tile, *cut));
    if (written.m_path == "-")
        return;
    if (options.m_json)
        PrintJson({{"raster", arguments.m_raster},
                   {"x", tile.m_x},
                   {"y", tile.m_y},
                   {"z", tile.m_z},
                   {"file", written.m_path},
                   {"format", written.m_format},
                   {"width", written.m_width},
                   {"height", written.m_height},
                   {"bytes", written.m_bytes}});
    else
        fmt::print("{}: {} {} x {}, {} bytes\n",
                   written.m_path,
                   written.m_format,
                   written.m_width,
                   written.m_height,
                   written.m_bytes);
}

void AddInfo(CLI::App& raster, const GlobalOptions& options)
{
    CLI::App* command =
        raster.add_subcommand("info", "Tell a raster's coordinate system, size, bounds and levels");
    const auto arguments = std::make_shared<RasterArguments>();
    command->add_option("FILE", arguments->m_raster, "Raster file, or a pack of tiles")->required();
    command->footer(
        "Bounds are degrees, WGS 84; a west greater than the east goes across the "
        "antimeridian.\n"
        "A coordinate system is assumed where neither the raster nor a .prj file beside "
        "it names one:\nWGS 84 where its numbers fit into the world's degrees, else Web "
        "Mercator.\n"
        "Examples:\n"
        "  kxtile raster info world.tif\n"
        "  kxtile raster info world.tif --json");
    command->callback([&options, arguments] { RunInfo(options, *arguments); });
}

void AddTile(CLI::App& raster, const GlobalOptions& options)
{
    CLI::App* command = raster.add_subcommand("tile", "Cut one Web Mercator tile from a raster");
    const auto arguments = std::make_shared<RasterArguments>();
    command->add_option("FILE", arguments->m_raster, "Raster file, or a pack of tiles")->required();
    command->add_option("ADDRESS", arguments->m_address, "COLUMN/ROW/LEVEL, row 0 in the north")
        ->required();
    command->add_option("-o,--output",
                        arguments->m_output,
                        "File (another extension than the tile's converts it), or '-' for standard "
                        "output");
    command->add_option("--size", arguments->m_size, "Edge of the tile in pixels (256)")
        ->check(CLI::Range(1, kMaxSize));
    command->footer("PNG where the tile is not wholly covered, else JPEG; of a pack, its own "
                    "bytes.\n"
                    "Examples:\n"
                    "  kxtile raster tile world.tif 4/3/3 -o tile.png\n"
                    "  kxtile raster tile pack.mbtiles 67/44/7 -o -");
    command->callback([&options, arguments] { RunTile(options, *arguments); });
}

} // namespace

void AddRasterCommand(CLI::App& app, const GlobalOptions& options)
{
    CLI::App* raster = app.add_subcommand("raster", "Look into raster files");
    raster->require_subcommand(1);
    raster->footer("Examples:\n"
                   "  kxtile raster info world.tif\n"
                   "  kxtile raster tile world.tif 4/3/3 -o tile.png");
    AddInfo(*raster, options);
    AddTile(*raster, options);
}

} // namespace KxTileHost
