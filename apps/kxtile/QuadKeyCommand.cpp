// SPDX-License-Identifier: MIT
#include "Command.h"
#include "HostTile.h"
#include "KxTileFetcher.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <memory>

namespace KxTileHost {

namespace {

constexpr std::size_t kMaxLevel = 30;

HostTile TileOfKey(const std::string& key)
{
    if (key.empty() || key.find_first_not_of("0123") != std::string::npos)
        throw CommandError(kExitWrongUsage,
                           fmt::format("'{}' is neither a quadkey nor a tile address", key),
                           "Write digits 0 to 3, or COLUMN/ROW/LEVEL.");
    if (key.size() > kMaxLevel)
        throw CommandError(
            kExitWrongUsage,
            fmt::format("a quadkey of {} digits is deeper than level {}", key.size(), kMaxLevel));
    HostTile tile{};
    KxC::KxTileFetcher::BingMapQuadKeyToTile(key.c_str(), tile.m_y, tile.m_x, tile.m_z);
    return tile;
}

void RunQuadKey(const GlobalOptions& options, const std::string& text)
{
    const bool isAddress = text.find('/') != std::string::npos;
    const HostTile tile = isAddress ? ParseHostTile(text) : TileOfKey(text);
    if (tile.m_z == 0)
        throw CommandError(kExitWrongUsage, "the one tile of level 0 has no quadkey");
    const KxC::KxString key =
        KxC::KxTileFetcher::BingMapTileToQuadKey(tile.m_y, tile.m_x, tile.m_z);
    if (options.m_json)
        PrintJson({{"quadkey", key.Cstr()}, {"x", tile.m_x}, {"y", tile.m_y}, {"z", tile.m_z}});
    else if (isAddress)
        fmt::print("{}\n", key.Cstr());
    else
        fmt::print("{}/{}/{}\n", tile.m_x, tile.m_y, tile.m_z);
}

} // namespace

void AddQuadKeyCommand(CLI::App& app, const GlobalOptions& options)
{
    CLI::App* command =
        app.add_subcommand("quadkey", "Turn a tile address into its quadkey, and back");
    const auto text = std::make_shared<std::string>();
    command->add_option("TILE", *text, "COLUMN/ROW/LEVEL, row 0 in the north; or a quadkey")
        ->required();
    command->footer("Examples:\n"
                    "  kxtile quadkey 3/5/3    prints 213\n"
                    "  kxtile quadkey 213      prints 3/5/3");
    command->callback([&options, text] { RunQuadKey(options, *text); });
}

} // namespace KxTileHost
