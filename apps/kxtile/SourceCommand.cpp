// SPDX-License-Identifier: MIT
#include "Command.h"
#include "KxLuaToolkit.h"
#include "Secrets.h"
#include "SourceArgument.h"
#include "SourceCheckCommand.h"
#include "SourceSubcommands.h"
#include "forms/UrlPieces.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <array>
#include <memory>

namespace KxTileHost {

namespace {

using Json = nlohmann::ordered_json;

std::string SchemeName(int scheme)
{
    switch (scheme) {
    case 3:
    case 10:
    case 11:
        return "Web Mercator";
    case 4:
    case 13:
        return "Baidu";
    case 5:
        return "geographic, TianDiTu rows";
    case 6:
        return "Web Mercator by quadkey";
    case 8:
        return "history imagery";
    case 14:
        return "geographic, three-quarter rows";
    default:
        return "geographic";
    }
}

std::string DatumName(int datum)
{
    constexpr std::array kNames{"WGS 84", "GCJ-02", "BD-09"};
    return datum >= 0 && datum < 3 ? kNames[static_cast<std::size_t>(datum)] : "unknown";
}

std::string AxisOrderName(int order)
{
    constexpr std::array kNames{"Z,X,Y", "X,Y,Z", "Z,Y,X", "X,Z,Y", "Y,X,Z", "Y,Z,X"};
    return kNames[order >= 0 && order < 6 ? static_cast<std::size_t>(order) : 0];
}

Json Texts(const KxC::KxArray<KxC::KxString>& texts, const Secrets& secrets)
{
    Json list = Json::array();
    for (const KxC::KxString& text : texts)
        list.push_back(secrets.Mask(text.Cstr()));
    return list;
}

Json BoundsOf(const KxC::KxSLevelBounds& bounds)
{
    return {{"west", bounds.m_rect.m_dLeft},
            {"south", bounds.m_rect.m_dBottom},
            {"east", bounds.m_rect.m_dRight},
            {"north", bounds.m_rect.m_dTop},
            {"min_level", bounds.m_nMinLevel},
            {"max_level", bounds.m_nMaxLevel}};
}

/// The record under the keys of the definition file.
Json Describe(const KxC::KxTSDParamItem& source, const Secrets& secrets)
{
    const auto text = [&secrets](const KxC::KxString& value) { return secrets.Mask(value.Cstr()); };
    return {{"url", secrets.Mask(ReadableUrl(source))},
            {"servers", Texts(source.m_arrServerParts, secrets)},
            {"scheme", source.m_nTileScheme},
            {"scheme_name", SchemeName(source.m_nTileScheme)},
            {"datum", DatumName(source.m_nDatum)},
            {"rows", source.m_nSouthToNorth != 0 ? "from the south" : "from the north"},
            {"axis_order", AxisOrderName(source.m_nAxisOrder)},
            {"tile_size", source.m_nTileSize},
            {"level_offset", source.m_nLevelOffset},
            {"format", text(source.m_strImageFormat)},
            {"version", text(source.m_strVersion)},
            {"user_agent", text(source.m_strUserAgent)},
            {"headers", Texts(source.m_arrRequestHeaders, secrets)},
            {"script", source.m_bLuaScripted != 0},
            {"bounds", BoundsOf(source.m_levelBounds)},
            {"name", text(source.m_strAttr1)},
            {"attribution", text(source.m_strAttr2)},
            {"terms", text(source.m_strAttr3)},
            {"notes", text(source.m_strAttr4)},
            {"attr5", text(source.m_strAttr5)},
            {"option1", source.m_bOption1 != 0},
            {"option2", source.m_bOption2 != 0},
            {"enabled", source.m_bOption3 != 0},
            {"value1", source.m_nValue1},
            {"value2", source.m_nValue2},
            {"value3", source.m_nValue3},
            {"cache_key", source.m_strHashKey.Cstr()}};
}

void RunShow(const GlobalOptions& options, const SourceArgument& argument)
{
    const KxC::KxTSDParamItem* source = argument.Load(SourceUse::Describe);
    if (source->m_bLuaScripted != 0 && KxC::KxLuaToolkit::GetLastError().IsEmpty() == 0)
        fmt::print(stderr,
                   "kxtile: {}: warning: the script does not load: {}\n",
                   argument.GetText(),
                   argument.GetSecrets().Mask(KxC::KxLuaToolkit::GetLastError().Cstr()));
    const Json description = Describe(*source, argument.GetSecrets());
    if (options.m_json) {
        PrintJson(description);
        return;
    }
    for (const auto& [key, value] : description.items())
        fmt::print("{:<13} {}\n",
                   key,
                   value.is_string() ? Printable(value.get<std::string>())
                                     : value.dump(-1, ' ', false, Json::error_handler_t::replace));
}

} // namespace

void AddSourceCommand(CLI::App& app, const GlobalOptions& options)
{
    CLI::App* source =
        app.add_subcommand("source", "Look at tile sources, try them out, convert them");
    source->require_subcommand(1);
    source->footer(
        "Example:\n  kxtile source show 'http://127.0.0.1:8080/xyz/marble/{$z}/{$x}/{$y}.png'");
    AddSourceListCommand(*source, options);
    AddSourceTestCommand(*source, options);
    AddSourceConvertCommand(*source, options);
    CLI::App* show = source->add_subcommand("show", "Print what a source came out as");
    const auto argument = std::make_shared<SourceArgument>();
    argument->AddTo(*show);
    show->footer(
        "Values of environment variables are shown by their names.\n"
        "Example:\n  kxtile source show 'http://127.0.0.1:8080/quadkey/marble/{$quadkey}.png'");
    show->callback([&options, argument] { RunShow(options, *argument); });
    AddSourceCheckCommand(*source, options);
}

} // namespace KxTileHost
