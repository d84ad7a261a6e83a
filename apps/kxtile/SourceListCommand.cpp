// SPDX-License-Identifier: MIT
#include "ReadySources.h"
#include "Secrets.h"
#include "SourceArgument.h"
#include "SourceSubcommands.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <string>

namespace KxTileHost {

namespace {

using Json = nlohmann::ordered_json;

/// One ready definition, described whether its variables are set or not.
Json Describe(const ReadySource& ready)
{
    const StandInVariables variables(ready.m_path.string());
    const SourceArgument argument(ready.m_path.string());
    const KxC::KxTSDParamItem* source = argument.Load(SourceUse::Describe);
    const auto text = [&](const KxC::KxString& value) { return variables.NameAgain(value.Cstr()); };
    return {{"name", ready.m_name},
            {"title", text(source->m_strAttr1)},
            {"enabled", source->m_bOption3 != 0},
            {"needs", variables.Names()},
            {"attribution", text(source->m_strAttr2)},
            {"terms", text(source->m_strAttr3)},
            {"file", ready.m_path.string()}};
}

Json DescribeAll()
{
    Json list = Json::array();
    for (const ReadySource& ready : ListReadySources()) {
        try {
            list.push_back(Describe(ready));
        } catch (const CommandError& error) {
            fmt::print(stderr, "kxtile: {}\n        {}\n", error.what(), error.m_hint);
        }
    }
    return list;
}

std::string Joined(const Json& names)
{
    std::string text;
    for (const auto& name : names)
        text += (text.empty() ? "" : ", ") + name.get<std::string>();
    return text;
}

void Print(const Json& source)
{
    fmt::print("{:<22} {:<9} {}\n",
               source["name"].get<std::string>(),
               source["enabled"].get<bool>() ? "enabled" : "disabled",
               Printable(source["title"].get<std::string>()));
    if (!source["needs"].empty())
        fmt::print("{:<22} needs: {}\n", "", Joined(source["needs"]));
    fmt::print("{:<22} terms: {}\n", "", Printable(source["terms"].get<std::string>()));
}

void RunList(const GlobalOptions& options)
{
    const Json list = DescribeAll();
    if (options.m_json) {
        PrintJson({{"sources", list}});
        return;
    }
    for (const Json& source : list)
        Print(source);
    if (list.empty())
        for (const auto& folder : ReadySourceFolders())
            fmt::print("no definitions in {}\n", folder.string());
}

} // namespace

void AddSourceListCommand(CLI::App& source, const GlobalOptions& options)
{
    CLI::App* list = source.add_subcommand("list", "List the ready definitions and their terms");
    list->footer(
        "A ready definition is named without folder and extension: kxtile source show osm\n"
        "Disabled ones are for reading: their services' terms exclude such use.\n"
        "Example:\n  kxtile source list --json");
    list->callback([&options] { RunList(options); });
}

} // namespace KxTileHost
