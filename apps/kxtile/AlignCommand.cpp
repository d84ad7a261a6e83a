// SPDX-License-Identifier: MIT
#include "AlignSheet.h"
#include "Command.h"
#include "GeoPoint.h"
#include "OutputFile.h"
#include "SourceArgument.h"
#include "SourceView.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
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

/// The definition's own name of the source, where the sheet's letters can write it.
std::string NameOf(const SourceArgument& argument, const KxC::KxTSDParamItem& source)
{
    const std::string name = source.m_strAttr1.Cstr();
    const bool writable = std::all_of(
        name.begin(), name.end(), [](char letter) { return letter >= ' ' && letter <= '~'; });
    return !name.empty() && writable ? name : argument.GetName();
}

std::string Describe(const KxC::KxTSDParamItem& source)
{
    return fmt::format("{} grid, scheme {}, datum {}, tiles of {} pixels",
                       NameOf(GridOf(source.m_nTileScheme)),
                       source.m_nTileScheme,
                       NameOfDatum(source.m_nDatum),
                       source.m_nTileSize);
}

/// @throws CommandError where there is nothing to show
void CheckHasTiles(const AlignArguments& arguments,
                   const SourceArgument& argument,
                   const KxC::KxTSDParamItem& source,
                   const AlignRow& row)
{
    if (row.m_asItComes.m_tiles > 0 && row.m_aligned.m_tiles > 0)
        return;
    const bool plane = GridOf(source.m_nTileScheme) == GridKind::Baidu;
    throw CommandError(
        kExitNoTile,
        fmt::format("'{}' has no {}tile around {} on level {}",
                    argument.GetText(),
                    row.m_asItComes.m_tiles > 0 ? "aligned " : "",
                    arguments.m_place,
                    arguments.m_level),
        plane ? "In the Baidu grid nothing west and south of its origin is aligned; its rows count "
                "from the south. What is kept on disk is forgotten with 'kxtile cache clear'."
              : "What is kept on disk is forgotten with 'kxtile cache clear'.");
}

AlignRow ViewSource(const GlobalOptions& options,
                    const AlignArguments& arguments,
                    const SourceArgument& argument,
                    const GeoPoint& place)
try {
    KxC::KxTSDParamItem* source = argument.Load();
    AlignRow row;
    row.m_name = NameOf(argument, *source);
    row.m_detail = Describe(*source);
    row.m_asItComes = ViewAsItComes(*source, place, arguments.m_level, options.TimeoutMs());
    row.m_aligned =
        ViewAligned(*source, place, arguments.m_level, arguments.m_blockCopy, options.TimeoutMs());
    row.m_unshifted = ViewUnshifted(*source, place, arguments.m_level, options.TimeoutMs());
    CheckHasTiles(arguments, argument, *source, row);
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
        const double difference = MeanDifference(row.m_unshifted, row.m_aligned);
        sources.push_back({{"name", row.m_name},
                           {"what", row.m_detail},
                           {"tiles_as_they_come", row.m_asItComes.m_tiles},
                           {"aligned_tiles", row.m_aligned.m_tiles},
                           {"mean_difference", difference}});
        if (!options.m_json)
            fmt::print(
                "{:<16} {}; the shift makes {:.1f} of 255\n", row.m_name, row.m_detail, difference);
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
    command->footer("Four pictures for each source: its tiles as they come in their own grid, the "
                    "aligned ones,\na half each without and with the datum shift taken back, and "
                    "the difference of these two.\nThe graticule stands where meridians and "
                    "parallels ought to be.\n"
                    "Example:\n"
                    "  kxtile align city.toml --at 116.3975,39.9087 --level 15 -o align.png");
    command->callback([&options, arguments] { RunAlign(options, *arguments); });
}

} // namespace KxTileHost
