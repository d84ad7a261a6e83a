// SPDX-License-Identifier: MIT
#include "TileUrl.h"

#include "Command.h"
#include "EarthSource.h"
#include "KxLuaToolkit.h"
#include "KxTileFetcher.h"

#include <fmt/format.h>

namespace KxTileHost {

std::string TileUrlOf(KxC::KxTSDParamItem& source, const HostTile& tile)
{
    if (source.m_nTileScheme == kSchemeEarthHistory)
        throw CommandError(kExitFailed,
                           "an earth server's tiles have no URL of their own: its quadtree tells "
                           "where each one is",
                           "'kxtile tile' fetches a tile, 'kxtile source test' shows the steps.");
    const KxC::KxString url =
        KxC::KxTileFetcher::GetURL(&source, tile.m_z, tile.RowFromSouth(), tile.m_x);
    if (url.IsEmpty() != 0)
        ThrowNoUrl(source);
    return url.Cstr();
}

void ThrowNoUrl(const KxC::KxTSDParamItem& source)
{
    if (source.m_bLuaScripted == 0)
        throw CommandError(kExitFailed, "the source gives no URL");
    throw CommandError(
        kExitFailed,
        fmt::format("the URL script gives no URL: {}", KxC::KxLuaToolkit::GetLastError().Cstr()),
        "A script defines function GetTileURL(level, row, col), which returns a text.");
}

} // namespace KxTileHost
