// SPDX-License-Identifier: MIT
#include "Command.h"
#include "Crs.h"
#include "GeoTiffTags.h"
#include "KxTileFetcher.h"
#include "MosaicGrid.h"
#include "MosaicOutput.h"
#include "MosaicUnits.h"
#include "OutputFile.h"
#include "RasterArgument.h"
#include "UnfinishedFiles.h"
#include "export/StoppableStep.h"
#include "export/TileSink.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <new>
#include <optional>

namespace KxTileHost {

namespace {

namespace fs = std::filesystem;

struct MosaicArguments
{
    std::string m_raster;
    std::string m_bounds;
    std::string m_crs;
    double m_resolution = 0.0;
    std::string m_output;
    bool m_worldFile = false;
};

/// The six lines: width and height of a pixel and the place of the north-western one's middle.
std::string WorldFileText(const MosaicGrid& grid)
{
    return fmt::format("{}\n0\n0\n{}\n{}\n{}\n",
                       grid.m_pixelSize,
                       -grid.m_pixelSize,
                       grid.m_firstX,
                       grid.m_firstY);
}

void CheckArguments(const MosaicArguments& arguments)
{
    CheckNamesFormat(arguments.m_output);
    if (!(arguments.m_resolution > 0) || !std::isfinite(arguments.m_resolution))
        throw CommandError(kExitWrongUsage, "the resolution must be above 0");
}

void CheckLevel(KxC::KxRasterDataAccessor& raster,
                const MosaicArguments& arguments,
                const MosaicGrid& grid,
                const MetricSystem& system)
{
    const int least = raster.GetMinLevel();
    const int most = raster.GetMaxLevel();
    if (grid.m_level >= least && grid.m_level <= most)
        return;
    // A level serves from its own pixels' size up to just below twice that.
    throw CommandError(
        kExitFailed,
        fmt::format("'{}' has no level for a resolution of {}: it has levels {} to {}",
                    arguments.m_raster,
                    ShortNumber(arguments.m_resolution),
                    least,
                    most),
        // Five digits, none below the level's own.
        fmt::format("Ask for a --resolution from {:.5g} to just below {} {}.",
                    MetresPerPixel(most) / system.m_metresPerUnit * 1.00005,
                    ShortNumber(2 * MetresPerPixel(least) / system.m_metresPerUnit),
                    system.m_units));
}

/// Whether some of a grid of points in the extent lies in the raster.
bool Reaches(const KxC::KxRasterDataAccessor& raster, const Crs& crs, const KxC::KxRect2d& bounds)
{
    constexpr int kSteps = 16;
    const KxC::KxRect2d& earth = raster.GetLatLonBounds();
    for (int i = 0; i <= kSteps; ++i)
        for (int j = 0; j <= kSteps; ++j) {
            const auto place = crs.ToDegrees(bounds.m_dLeft + bounds.Width() * i / kSteps,
                                             bounds.m_dBottom + bounds.Height() * j / kSteps);
            if (place && earth.IsIntersect({place->x, place->y, place->x, place->y}, 0))
                return true;
        }
    return false;
}

std::string Describe(const GeoBounds& extent)
{
    return fmt::format("It covers longitude {:.6g} to {:.6g}{} and latitude {:.6g} to {:.6g}.",
                       extent.m_west,
                       extent.m_east,
                       extent.CrossesAntimeridian() ? " across the antimeridian" : "",
                       extent.m_south,
                       extent.m_north);
}

[[noreturn]] void ThrowNothingThere(const MosaicArguments& arguments,
                                    const KxC::KxRasterDataAccessor& raster)
{
    throw CommandError(kExitFailed,
                       fmt::format("nothing of '{}' lies in the bounds", arguments.m_raster),
                       Describe(ExtentOf(raster)));
}

/// What a mosaic's command works with, after everything has been checked that can be beforehand.
struct Mosaic
{
    MosaicArguments m_arguments;
    Crs m_crs;
    bool m_inDegrees;
    KxC::KxRect2d m_bounds;
    MosaicGrid m_grid;
    std::string m_esriPrj; ///< empty where none is needed
    MetricSystem m_asked;
};

Mosaic Prepare(const MosaicArguments& arguments)
{
    CheckArguments(arguments);
    const KxC::KxRect2d bounds = ParseBounds(arguments.m_bounds);
    Mosaic mosaic{arguments, Crs(arguments.m_crs), false, bounds, {}, {}, {}};
    mosaic.m_inDegrees = mosaic.m_crs.IsInDegrees();
    if (mosaic.m_inDegrees && !mosaic.m_crs.IsWgs84())
        throw CommandError(
            kExitFailed,
            fmt::format("'{}' is in degrees of another datum than WGS 84", arguments.m_crs),
            "Ask for the picture in EPSG:4326, or in a system that is in metres.");
    mosaic.m_asked = InMetres(mosaic.m_crs, bounds);
    mosaic.m_grid = PlanMosaic({bounds, arguments.m_resolution}, mosaic.m_asked.m_metresPerUnit);
    CheckFormatHolds(arguments.m_output, mosaic.m_grid.m_width, mosaic.m_grid.m_height);
    CheckFolder(arguments.m_output);
    CheckNotItsSource(arguments.m_output, arguments.m_raster);
    const bool needsPrj =
        arguments.m_worldFile || (IsTiff(arguments.m_output) && !mosaic.m_crs.EpsgCode());
    if (needsPrj)
        mosaic.m_esriPrj = EsriPrjOf(mosaic.m_crs);
    return mosaic;
}

/// What is left of a damaged raster looks like a raster with holes: no picture is made of it.
void CheckReads(const MosaicArguments& arguments, unsigned long long failuresBefore)
{
    const auto failures = KxC::KxRasterDataAccessor::GetThreadReadFailures() - failuresBefore;
    if (failures > 0)
        throw CommandError(kExitFailed,
                           fmt::format("{} of the tiles of '{}' cannot be read: {}",
                                       failures,
                                       arguments.m_raster,
                                       KxC::KxRasterDataAccessor::GetThreadError().Cstr()),
                           "Nothing was written. Look whether the raster is whole.");
}

[[noreturn]] void ThrowNotWritten(const Mosaic& mosaic)
{
    throw CommandError(
        kExitFailed,
        fmt::format("cannot write '{}'", mosaic.m_arguments.m_output),
        mosaic.m_grid.IsPossible(4)
            ? "Check that its folder has room."
            : "Check that its folder has room. With transparency, which a picture has where the "
              "raster does not cover all of it, it would be more than the 2 GiB that a picture can "
              "have: then ask for a coarser --resolution, or for several pictures.");
}

/// @return whether the library says that all went well, which it also does without a picture
bool FetchPicture(const Mosaic& mosaic, const std::string& path)
try {
    const MosaicGrid& grid = mosaic.m_grid;
    return KxC::KxTileFetcher::FetchImageOfPixels(path.c_str(),
                                                  mosaic.m_arguments.m_raster.c_str(),
                                                  grid.m_extent,
                                                  grid.m_width,
                                                  grid.m_height,
                                                  grid.m_level,
                                                  mosaic.m_asked.m_text.c_str(),
                                                  mosaic.m_asked.m_form) != 0;
} catch (const std::bad_alloc&) {
    throw CommandError(kExitFailed,
                       fmt::format("there is no memory for a picture of {} x {} pixels",
                                   mosaic.m_grid.m_width,
                                   mosaic.m_grid.m_height),
                       "Ask for a coarser --resolution, or for several pictures.");
}

void Fetch(const Mosaic& mosaic, KxC::KxRasterDataAccessor& raster, const TemporaryFile& file)
{
    const Crs& crs = mosaic.m_crs;
    const auto failuresBefore = KxC::KxRasterDataAccessor::GetThreadReadFailures();
    const bool done = FetchPicture(mosaic, file.Path());
    CheckReads(mosaic.m_arguments, failuresBefore);
    if (file.IsThere())
        return;
    if (done || !Reaches(raster, crs, mosaic.m_bounds))
        ThrowNothingThere(mosaic.m_arguments, raster);
    ThrowNotWritten(mosaic);
}

/// The least and greatest latitude of places.
struct Latitudes
{
    double m_least = 90;
    double m_most = -90;

    void Take(const std::optional<KxC::KxPoint2d>& place)
    {
        if (!place)
            return;
        m_least = std::min(m_least, place->y);
        m_most = std::max(m_most, place->y);
    }
};

/// The library looks for tiles along the edges of an extent. What lies farther north or south than
/// they do, as a pole in the middle does, stays empty.
void WarnOfPole(const Crs& crs, const MosaicGrid& grid, const KxC::KxRect2d& bounds)
{
    constexpr int kSteps = 16;
    Latitudes edges;
    Latitudes inside;
    for (int i = 0; i <= kSteps; ++i)
        for (int j = 0; j <= kSteps; ++j) {
            const bool atEdge = i % kSteps == 0 || j % kSteps == 0;
            (atEdge ? edges : inside)
                .Take(crs.ToDegrees(bounds.m_dLeft + bounds.Width() * i / kSteps,
                                    bounds.m_dBottom + bounds.Height() * j / kSteps));
        }
    const double tile = 360 / std::exp2(grid.m_level);
    if (inside.m_most > edges.m_most + tile || inside.m_least < edges.m_least - tile)
        fmt::print(stderr,
                   "kxtile: warning: the middle of the bounds lies nearer to a pole than their "
                   "edges do: it stays\n        empty. Take several pictures, so that an edge "
                   "runs through the pole.\n");
}

void AddTags(const Mosaic& mosaic, const TemporaryFile& file)
{
    const MosaicGrid& grid = mosaic.m_grid;
    if (IsTiff(mosaic.m_arguments.m_output))
        AddGeoTiffTags(file.Path(),
                       {grid.m_firstX, grid.m_firstY, grid.m_pixelSize, grid.m_pixelSize},
                       {mosaic.m_inDegrees, mosaic.m_crs.EpsgCode().value_or(0), mosaic.m_esriPrj});
}

/// Gives the picture, and then what stands beside it, their names: an earlier picture keeps its own
/// place in the world until the new one is there.
void NameFiles(const Mosaic& mosaic, const TemporaryFile& file)
{
    const std::string& output = mosaic.m_arguments.m_output;
    if (!mosaic.m_arguments.m_worldFile)
        return file.RenameTo(output);
    const TemporaryFile world(WorldFilePath(output));
    const TemporaryFile prj(PrjPath(output));
    WriteText(WorldFileText(mosaic.m_grid), world.Path());
    WriteText(mosaic.m_esriPrj + "\n", prj.Path());
    file.RenameTo(output);
    world.RenameTo(WorldFilePath(output));
    prj.RenameTo(PrjPath(output));
}

void PrintMosaic(const GlobalOptions& options, const Mosaic& mosaic, double seconds)
{
    const MosaicGrid& grid = mosaic.m_grid;
    const MosaicArguments& arguments = mosaic.m_arguments;
    const auto bytes = static_cast<unsigned long long>(fs::file_size(arguments.m_output));
    if (!options.m_json) {
        fmt::print("{}: {} x {}, {} bytes, from level {} in {:.0f} ms\n",
                   arguments.m_output,
                   grid.m_width,
                   grid.m_height,
                   bytes,
                   grid.m_level,
                   seconds * 1000.0);
        return;
    }
    nlohmann::ordered_json answer{{"raster", arguments.m_raster},
                                  {"file", arguments.m_output},
                                  {"crs", arguments.m_crs},
                                  {"width", grid.m_width},
                                  {"height", grid.m_height},
                                  {"bytes", bytes},
                                  {"level", grid.m_level},
                                  {"pixel_width", grid.m_pixelSize},
                                  {"pixel_height", grid.m_pixelSize},
                                  {"first_pixel", {grid.m_firstX, grid.m_firstY}},
                                  {"seconds", seconds}};
    if (arguments.m_worldFile) {
        answer["world_file"] = WorldFilePath(arguments.m_output);
        answer["prj_file"] = PrjPath(arguments.m_output);
    }
    PrintJson(answer);
}

/// One picture comes by each tile once: keeping what was read and decoded would only take memory.
void KeepLittle()
{
    KxC::m_gWMTileDataCacheManager.SetBudget(0);
    constexpr int kUnlessSet = 0;
    ::setenv("GDAL_CACHEMAX", "16", kUnlessSet); // MB; the reader takes 5 % of all memory otherwise
}

/// Before the process ends while the picture is made.
void RemoveUnfinished(const MosaicArguments& arguments)
{
    RemoveUnfinishedForGood({FolderOf(arguments.m_output)});
    fmt::print(stderr, "kxtile: interrupted: '{}' was not written\n", arguments.m_output);
}

void RunMosaic(const GlobalOptions& options, const MosaicArguments& arguments)
{
    KeepLittle();              // before GDAL is loaded
    const StopSignals signals; // before GDAL has threads
    const Mosaic mosaic = Prepare(arguments);
    RemoveOrphans(FolderOf(arguments.m_output));
    auto begin = std::chrono::steady_clock::now();
    const TemporaryFile file(arguments.m_output);
    RunStoppable(
        [&] {
            KxC::KxRasterDataAccessor& raster = OpenRasterFile(arguments.m_raster);
            CheckLevel(raster, arguments, mosaic.m_grid, mosaic.m_asked);
            begin = std::chrono::steady_clock::now();
            Fetch(mosaic, raster, file);
            AddTags(mosaic, file);
        },
        signals,
        [&] { RemoveUnfinished(arguments); });
    WarnOfPole(mosaic.m_crs, mosaic.m_grid, mosaic.m_bounds);
    NameFiles(mosaic, file);
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - begin;
    PrintMosaic(options, mosaic, took.count());
}

} // namespace

void AddMosaicCommand(CLI::App& app, const GlobalOptions& options)
{
    CLI::App* command = app.add_subcommand("mosaic", "Make one picture of a raster over an extent");
    const auto arguments = std::make_shared<MosaicArguments>();
    command->add_option("RASTER", arguments->m_raster, "Raster file, or a pack of tiles")
        ->required();
    command
        ->add_option("--bounds",
                     arguments->m_bounds,
                     "WEST,SOUTH,EAST,NORTH, in units of the coordinate system")
        ->required();
    command
        ->add_option("--crs",
                     arguments->m_crs,
                     "Coordinate system of the picture: EPSG:32650, a PROJ string, WKT, a .prj "
                     "file")
        ->required();
    command
        ->add_option("--resolution",
                     arguments->m_resolution,
                     "Units of the coordinate system a pixel: metres, degrees, feet")
        ->required();
    command->add_option("-o,--output", arguments->m_output, "File: .png, .jpg, .webp or .tif")
        ->required();
    command->add_flag("--world-file",
                      arguments->m_worldFile,
                      "Also write a world file and a .prj file beside the picture");
    command->footer(
        "Pixels count from the west and north edge of the bounds, each the nearest pixel of the "
        "level\nthat serves the resolution, which must be one of the raster's. What the raster "
        "does not\ncover is transparent; JPEG has no transparency, there it is black. A .tif "
        "carries its\ngeoreference. JPEG and WebP are encoded in memory, beside the picture.\n"
        "Examples:\n"
        "  kxtile mosaic world.tif --bounds 5.9,45.8,10.5,47.8 --crs EPSG:4326 --resolution 0.01 "
        "-o alps.tif\n"
        "  kxtile mosaic city.tif --bounds 440000,4410000,460000,4430000 --crs EPSG:32650 "
        "--resolution 20 -o city.png --world-file");
    command->callback([&options, arguments] { RunMosaic(options, *arguments); });
}

} // namespace KxTileHost
