// SPDX-License-Identifier: MIT
#include "Command.h"
#include "ContactSheet.h"
#include "FetchedTile.h"
#include "HostTile.h"
#include "KxImgUtility.h"
#include "KxWMTileDataCache.h"
#include "OutputFile.h"
#include "PictureFile.h"
#include "SourceArgument.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <memory>
#include <utility>
#include <vector>

namespace KxTileHost {

namespace {

struct SheetArguments
{
    std::vector<std::string> m_sources;
    std::vector<std::string> m_pictures;
    std::string m_address;
    std::string m_output = "sheet.png";
    std::string m_tileFolder;
    bool m_throughCaches = false;
};

/// One fetch of one source: a line of the table.
struct SheetRow
{
    std::string m_name;
    FetchedTile m_fetched;
};

const char* FormatOf(const FetchedTile& fetched)
{
    return fetched.m_bytes->GetExt().Cstr() + 1;
}

void PrintRow(const SheetRow& row)
{
    const FetchedTile& fetched = row.m_fetched;
    fmt::print("{:<12} {:<7} {:<5} {:>8} {:>9.3f}  {}\n",
               row.m_name,
               fetched.m_from,
               FormatOf(fetched),
               fetched.m_bytes->GetSize(),
               fetched.m_seconds * 1000.0,
               fetched.m_url);
}

nlohmann::ordered_json ToJson(const SheetRow& row)
{
    const FetchedTile& fetched = row.m_fetched;
    return {{"source", row.m_name},
            {"url", fetched.m_url},
            {"format", FormatOf(fetched)},
            {"bytes", fetched.m_bytes->GetSize()},
            {"seconds", fetched.m_seconds},
            {"from", fetched.m_from}};
}

nlohmann::ordered_json ToJson(const std::string& source, const CommandError& error)
{
    nlohmann::ordered_json row{{"source", source}, {"error", error.what()}};
    if (!error.m_hint.empty())
        row["hint"] = error.m_hint;
    return row;
}

SheetPanel PanelOf(const SheetRow& row)
{
    const KxC::KxRawData& bytes = *row.m_fetched.m_bytes;
    SheetPanel panel;
    panel.m_title = row.m_name;
    panel.m_detail = fmt::format("{} {} bytes, {} {:.1f} ms",
                                 bytes.GetExt().Cstr() + 1,
                                 bytes.GetSize(),
                                 row.m_fetched.m_from,
                                 row.m_fetched.m_seconds * 1000.0);
    panel.m_image.reset(
        KxC::KxImgUtility::LoadImageData(bytes.GetData(), bytes.GetSize(), "", 1, 1));
    return panel;
}

/// A picture that is a file already, such as a tile of a tree or a mosaic.
SheetPanel PanelOfPicture(const std::string& path)
{
    PictureFile picture = ReadPictureFile(path);
    SheetPanel panel;
    panel.m_title = std::filesystem::path(path).filename().string();
    panel.m_detail = fmt::format("{} x {}, {} bytes",
                                 picture.m_image->GetWidth(),
                                 picture.m_image->GetHeight(),
                                 picture.m_size);
    panel.m_image = std::move(picture.m_image);
    return panel;
}

class SheetRun
{
public:
    SheetRun(const GlobalOptions& options, const SheetArguments& arguments)
        : m_options(options), m_arguments(arguments), m_tile(ParseHostTile(arguments.m_address))
    {
    }

    void Run()
    {
        CreateTileFolder();
        if (!m_options.m_json)
            fmt::print("{:<12} {:<7} {:<5} {:>8} {:>9}  {}\n",
                       "source",
                       "from",
                       "kind",
                       "bytes",
                       "ms",
                       "URL");
        std::vector<SheetPanel> panels;
        for (const std::string& source : m_arguments.m_sources)
            panels.push_back(PanelOfSource(source));
        for (const std::string& path : m_arguments.m_pictures)
            panels.push_back(PanelOfPicture(path));
        WriteSheet(panels);
        const std::string failure = m_failures == 0
                                        ? std::string()
                                        : fmt::format("{} of {} sources have no tile on the sheet",
                                                      m_failures,
                                                      m_arguments.m_sources.size());
        if (m_options.m_json)
            PrintAnswer(failure);
        else
            fmt::print("{}: {} pictures side by side\n", m_arguments.m_output, panels.size());
        if (m_failures > 0)
            throw CommandError(m_exitCode, m_options.m_json ? std::string() : failure);
    }

private:
    void CreateTileFolder() const
    {
        std::error_code error;
        if (!m_arguments.m_tileFolder.empty())
            std::filesystem::create_directories(m_arguments.m_tileFolder, error);
    }

    /// All in one object; a failure is told on standard error besides, like the others.
    void PrintAnswer(const std::string& failure) const
    {
        nlohmann::ordered_json answer{{"sheet", m_arguments.m_output}, {"tiles", m_rows}};
        if (!failure.empty()) {
            answer["error"] = failure;
            ReportOnStandardError(failure, "");
        }
        PrintJson(answer);
    }

    static void ReportOnStandardError(const std::string& what, const std::string& hint)
    {
        ReportError(GlobalOptions(), what, hint);
    }

    SheetRow Fetch(const SourceArgument& argument, KxC::KxTSDParamItem& source)
    try {
        SheetRow row{argument.GetName(),
                     FetchTileOf(source, m_tile, !m_options.m_noDiskCache, m_options.TimeoutMs())};
        row.m_fetched.m_url = argument.GetSecrets().Mask(row.m_fetched.m_url);
        if (m_options.m_json)
            m_rows.push_back(ToJson(row));
        else
            PrintRow(row);
        return row;
    } catch (const CommandError& error) {
        throw argument.WithoutSecrets(error);
    }

    /// A source that fails leaves its panel empty; the others are shown all the same.
    SheetPanel PanelOfSource(const std::string& text)
    try {
        return FetchPanel(text);
    } catch (const CommandError& error) {
        const std::string name = SourceArgument(text).GetName();
        m_rows.push_back(ToJson(name, error));
        ReportOnStandardError(error.what(), error.m_hint);
        // "No tile there" is the answer only when nothing worse happened.
        if (m_failures++ == 0 || error.m_exitCode != kExitNoTile)
            m_exitCode = error.m_exitCode;
        const char* const what = error.m_exitCode == kExitNoTile ? "no tile there" : "failed";
        return {name, what, nullptr};
    }

    /// A name that no other tile of this run has.
    std::string TileName(const SheetRow& row)
    {
        std::string name = row.m_name;
        std::replace(name.begin(), name.end(), '/', '_');
        const int count = ++m_names[name];
        const std::string suffix = count > 1 ? fmt::format("-{}", count) : "";
        return name + suffix + row.m_fetched.m_bytes->GetExt().Cstr();
    }

    SheetPanel FetchPanel(const std::string& text)
    {
        const SourceArgument argument(text);
        KxC::KxTSDParamItem* source = argument.Load();
        const SheetRow row = Fetch(argument, *source);
        if (m_arguments.m_throughCaches) {
            Fetch(argument, *source);
            KxC::m_gWMTileDataCacheManager.Clear();
            Fetch(argument, *source);
        }
        if (!m_arguments.m_tileFolder.empty())
            WriteTile(*row.m_fetched.m_bytes,
                      (std::filesystem::path(m_arguments.m_tileFolder) / TileName(row)).string());
        return PanelOf(row);
    }

    void WriteSheet(const std::vector<SheetPanel>& panels) const
    {
        const auto sheet = DrawContactSheet(panels);
        if (sheet == nullptr)
            throw CommandError(kExitFailed, "so many sources do not fit on one sheet");
        WritePicture(*sheet, m_arguments.m_output);
    }

    const GlobalOptions& m_options;
    const SheetArguments& m_arguments;
    HostTile m_tile;
    std::map<std::string, int> m_names;
    nlohmann::ordered_json m_rows = nlohmann::ordered_json::array(); ///< of the answer in JSON
    int m_failures = 0;
    ExitCode m_exitCode = kExitFailed;
};

} // namespace

void AddSheetCommand(CLI::App& app, const GlobalOptions& options)
{
    CLI::App* command =
        app.add_subcommand("sheet", "Show one tile of several sources side by side");
    const auto arguments = std::make_shared<SheetArguments>();
    command->add_option("SOURCE", arguments->m_sources, "Definition files or URL templates")
        ->required();
    command->add_option("--at", arguments->m_address, "COLUMN/ROW/LEVEL, row 0 in the north")
        ->required();
    command->add_option("-o,--output", arguments->m_output, "The sheet (.png, .jpg, .webp, .tif)")
        ->capture_default_str();
    command
        ->add_option("--picture",
                     arguments->m_pictures,
                     "Picture file to show beside them; may be given again")
        ->allow_extra_args(false);
    command->add_option("--tiles", arguments->m_tileFolder, "Folder to write the tiles to as well");
    command->add_flag(
        "--again", arguments->m_throughCaches, "Fetch each tile again from memory and from disk");
    command->footer("Example:\n  kxtile sheet --at 4/3/3 -o sheet.png "
                    "'http://127.0.0.1:8080/xyz/marble/{$z}/{$x}/{$y}.png' "
                    "'http://127.0.0.1:8080/quadkey/marble/{$quadkey}.png'");
    command->callback([&options, arguments] {
        if (arguments->m_throughCaches && options.m_noDiskCache)
            throw CommandError(
                kExitWrongUsage, "--again needs the disk cache", "Leave --no-disk-cache out.");
        CheckOutputFormat(arguments->m_output);
        SheetRun(options, *arguments).Run();
    });
}

} // namespace KxTileHost
