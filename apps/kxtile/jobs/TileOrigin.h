// SPDX-License-Identifier: MIT
#pragma once

#include "Command.h"
#include "KxRasterDataAccessor.h"
#include "Secrets.h"
#include "SourceArgument.h"
#include "TileResult.h"

#include <memory>
#include <string>

namespace KxTileHost {

/// Where the tiles of many come from: a tile source or a raster file. Made by one thread,
/// afterwards used by any.
class TileOrigin
{
public:
    /// @param tileSize  pixels, 0 for the origin's own
    /// @throws CommandError when the source cannot be loaded, or the raster cannot be opened
    TileOrigin(const SourceArgument& argument, int tileSize, const GlobalOptions& options);

    /// Null for a raster.
    KxC::KxTSDParamItem* GetSource() const { return m_source; }
    /// Null for a source.
    KxC::KxRasterDataAccessor* GetRaster() const { return m_raster; }
    /// A raster's absolute path, so that a raster has one name from wherever it is called; empty
    /// for a source.
    const std::string& GetRasterPath() const { return m_rasterPath; }
    /// A short name, without secrets: the definition's, the template, or the raster's file name.
    const std::string& GetName() const { return m_name; }
    /// Names the origin's folders in the cache.
    std::string GetKey() const;
    /// Pixels a side of the tiles.
    int GetTileSize() const { return m_tileSize; }
    int GetTimeoutMs() const { return m_timeoutMs; }
    /// Whether that is the origin's own size (rasters: 256).
    bool HasOwnTileSize() const;
    /// What the tiles are made from and what they are like, for people: the name, the size, and the
    /// format that a source's definition names.
    std::string Describe() const;
    /// Whether the service's own tiles are the wanted ones, so that they come as they are.
    bool HandsOutOwnTiles() const;

    /// The Web Mercator tile, encoded.
    TileBytes Fetch(const HostTile& tile) const;
    /// A text with the source's secrets masked.
    std::string WithoutSecrets(const std::string& text) const { return m_secrets.Mask(text); }

private:
    TileBytes FetchFromSource(const HostTile& tile) const;
    TileBytes CutFromRaster(const HostTile& tile) const;

    KxC::KxTSDParamItem* m_source = nullptr;
    KxC::KxRasterDataAccessor* m_raster = nullptr;
    std::string m_rasterPath;
    std::string m_name;
    int m_tileSize;
    int m_timeoutMs;
    bool m_useDiskCache;
    Secrets m_secrets;
};

} // namespace KxTileHost
