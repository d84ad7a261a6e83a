// SPDX-License-Identifier: MIT
#pragma once

#include "jobs/TileOrigin.h"
#include "jobs/TileResult.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace KxTileHost {

/// Tiles as files with world files beside them, written by the library's file operations:
/// <cache folder>/<key of the origin>/<level>/<row from the north>/<column>.<extension>. Of another
/// tile size than the origin's own the folder is <key>-<size>px.
/// Any thread, unless said otherwise.
class TileTree
{
public:
    /// @param origin  must outlive this
    explicit TileTree(const TileOrigin& origin);

    /// The folder of the origin's tiles.
    const std::string& GetFolder() const { return m_folder; }
    /// Size of a tile's file, in bytes; nothing where there is none.
    std::optional<std::uint64_t> SizeOnDisk(const HostTile& tile) const;
    /// Takes the tile's file that is there, or writes it. A world file that an interrupted run did
    /// not come to write is written then.
    TileResult Make(const HostTile& tile) const;

    /// Removes files that other threads have begun to write for these tiles, and keeps the process
    /// from opening any further file: it is to end at once.
    void RemoveUnfinished(const std::vector<HostTile>& inWork) const;
    /// Removes empty folders, and what a killed process left half written. One thread, while no
    /// tile is made.
    void Tidy() const;

private:
    std::string FolderOf(const HostTile& tile) const;
    std::string PathWithoutExt(const HostTile& tile) const;
    std::vector<std::string> PossiblePaths(const HostTile& tile) const;
    std::string FindFile(const HostTile& tile) const;
    void RemoveEmptyFiles(const HostTile& tile) const;
    bool CallOperation(std::string& path, const HostTile& tile) const;
    unsigned char CallForSource(KxC::KxString& path, const HostTile& tile) const;
    std::string WithoutDoubledDot(const std::string& path) const;
    std::optional<TileResult> WhatTheRequestSays() const;
    TileResult MakeByOurselves(const HostTile& tile) const;
    void MendWorldFile(const std::string& path, const HostTile& tile) const;

    const TileOrigin& m_origin;
    std::string m_folder;
    std::string m_askedExt; ///< that the library names files with; empty: the tile's own
    bool m_usesOperations;
};

} // namespace KxTileHost
