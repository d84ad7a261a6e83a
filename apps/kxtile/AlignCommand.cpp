// SPDX-License-Identifier: MIT
#include "AlignSheet.h"
#include "Command.h"
#include "GeoPoint.h"
#include "OutputFile.h"
#include "SourceArgument.h"
#include "SourceView.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <memory>
#include <vector>

namespace KxTileHost {

namespace {

struct AlignArguments
{
    SourceArgument m_source;
    std::vector<std::string> m_beside;
    std::string m_place;
    int m_level = 0;
    bool m_blockCopy = false;
    std::string m_output = "align.png";
};

std::string Describe(const KxC::KxTSDParamItem& source)
{
    return fmt::format("{} grid, scheme {}, datum {}, tiles of {} pixels",
                       NameOf(GridOf(source.m_nTileScheme)),
                       source.m_nTileScheme,
                       NameOfDatum(source.m_nDatum),
                       source.m_nTileSize);
}

AlignRow ViewSource(const GlobalOptions& options,
                    const AlignArguments& arguments,
                    const SourceArgument& argument,
                    const GeoPoint& place)
try {
    KxC::KxTSDParamItem* source = argument.Load();
    AlignRow row;
    row.m_name = argument.GetName();
    row.m_detail = Describe(*source);
    row.m_asItComes = ViewAsItComes(*source, place, arguments.m_level, options.TimeoutMs());
    row.m_aligned =
        ViewAligned(*source, place, arguments.m_level, arguments.m_blockCopy, options.TimeoutMs());
    if (row.m_asItComes.m_tiles == 0)
        throw CommandError(kExitNoTile,
                           fmt::format("'{}' has no tile around {} on level {}",
                                       argument.GetText(),
                                       arguments.m_place,
                                       arguments.m_level));
    return row;
} catch (const CommandError& error) {
    throw argument.WithoutSecrets(error);
}

void PrintSheet(const GlobalOptions& options,
                const AlignArguments& arguments,
                const std::vector<AlignRow>& rows)
{
    nlohmann::ordered_json sources;
    for (const AlignRow& row : rows) {
        const double difference = MeanDifference(row.m_asItComes, row.m_aligned);
        sources.push_back({{"name", row.m_name},
                           {"what", row.m_detail},
                           {"tiles_as_they_come", row.m_asItComes.m_tiles},
                           {"aligned_tiles", row.m_aligned.m_tiles},
                           {"mean_difference", difference}});
        if (!options.m_json)
            fmt::print("{:<16} {}; aligned differs by {:.1f} of 255\n",
                       row.m_name,
                       row.m_detail,
                       difference);
    }
    if (options.m_json)
        PrintJson({{"sheet", arguments.m_output}, {"sources", sources}});
    else
        fmt::print("{}: {} around {}, level {}\n",
                   arguments.m_output,
                   rows.size() == 1 ? "one source" : fmt::format("{} sources", rows.size()),
                   arguments.m_place,
                   arguments.m_level);
}

void RunAlign(const GlobalOptions& options, const AlignArguments& arguments)
{
    const GeoPoint place = ParseGeoPoint(arguments.m_place);
    CheckOutputFormat(arguments.m_output);
    std::vector<AlignRow> rows;
    rows.push_back(ViewSource(options, arguments, arguments.m_source, place));
    for (const std::string& text : arguments.m_beside)
        rows.push_back(ViewSource(options, arguments, SourceArgument(text), place));
    const auto sheet = DrawAlignSheet(rows, place);
    if (sheet == nullptr)
        throw CommandError(kExitFailed, "so many sources do not fit on one sheet");
    WritePicture(*sheet, arguments.m_output);
    PrintSheet(options, arguments, rows);
}

} // namespace

void AddAlignCommand(CLI::App& app, const GlobalOptions& options)
{
    CLI::App* command =
        app.add_subcommand("align", "Show a source as it comes and aligned, under a graticule");
    const auto arguments = std::make_shared<AlignArguments>();
    arguments->m_source.AddTo(*command);
    command->add_option("--beside", arguments->m_beside, "A further source below; repeatable")
        ->allow_extra_args(false);
    command->add_option("--at", arguments->m_place, "LONGITUDE,LATITUDE of the middle, WGS 84")
        ->required();
    AddLevelOption(*command, arguments->m_level);
    command->add_option("-o,--output", arguments->m_output, "The sheet (.png, .jpg, .webp, .tif)")
        ->capture_default_str();
    command->add_flag(
        "--block-copy",
        arguments->m_blockCopy,
        "Let the library copy blocks of shifted tiles instead of sampling each pixel");
    command->footer("Four pictures for each source: its tiles as a program shows them that knows "
                    "nothing of\ndatums, the aligned ones, a half of each, and their difference. "
                    "The graticule stands\nwhere meridians and parallels ought to be.\n"
                    "Example:\n"
                    "  kxtile align city.toml --at 116.3975,39.9087 --level 15 -o align.png");
    command->callback([&options, arguments] { RunAlign(options, *arguments); });
}

} // namespace KxTileHost
