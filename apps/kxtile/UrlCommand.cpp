// SPDX-License-Identifier: MIT
#include "Command.h"
#include "HostTile.h"
#include "SourceArgument.h"
#include "TileUrl.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <memory>

namespace KxTileHost {

namespace {

struct UrlArguments
{
    SourceArgument m_source;
    std::string m_address;
};

/// The URL itself is what is asked for, whatever it holds; errors must not tell more.
std::string UrlOf(const SourceArgument& argument, KxC::KxTSDParamItem& source, const HostTile& tile)
try {
    return TileUrlOf(source, tile);
} catch (const CommandError& error) {
    throw argument.WithoutSecrets(error);
}

void RunUrl(const GlobalOptions& options, const UrlArguments& arguments)
{
    const HostTile tile = ParseHostTile(arguments.m_address);
    KxC::KxTSDParamItem* source = arguments.m_source.Load(SourceUse::Describe);
    const std::string url = UrlOf(arguments.m_source, *source, tile);
    if (options.m_json)
        PrintJson({{"source", arguments.m_source.GetText()},
                   {"x", tile.m_x},
                   {"y", tile.m_y},
                   {"z", tile.m_z},
                   {"url", url}});
    else
        fmt::print("{}\n", url);
}

} // namespace

void AddUrlCommand(CLI::App& app, const GlobalOptions& options)
{
    CLI::App* command = app.add_subcommand("url", "Print the URL of a tile");
    const auto arguments = std::make_shared<UrlArguments>();
    arguments->m_source.AddTo(*command);
    command->add_option("ADDRESS", arguments->m_address, "COLUMN/ROW/LEVEL, row 0 in the north")
        ->required();
    command->footer("Example:\n"
                    "  kxtile url 'https://{$serverpart}.example.org/{$z}/{$x}/{$y}.png' "
                    "--servers a,b,c 67/44/7");
    command->callback([&options, arguments] { RunUrl(options, *arguments); });
}

} // namespace KxTileHost
