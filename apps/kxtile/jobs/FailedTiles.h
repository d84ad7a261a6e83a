// SPDX-License-Identifier: MIT
#pragma once

#include "HostTile.h"

#include <cstdint>
#include <fstream>
#include <string>
#include <vector>

namespace KxTileHost {

/// Reads a list of tiles: COLUMN/ROW/LEVEL at the beginning of each line, whatever follows behind
/// a blank; empty lines and what begins with # are passed over.
/// @throws CommandError when it cannot be read, or a line is no tile
std::vector<HostTile> ReadTileList(const std::string& path);

/// Writes the list of tiles that failed, as ReadTileList takes it. The file appears under its name
/// when all is over, and only where a tile failed; a list of an earlier run goes then.
/// One thread at a time.
class FailedTiles
{
public:
    /// @param path  empty writes nothing
    explicit FailedTiles(std::string path);
    /// Takes back what was not finished.
    ~FailedTiles();
    FailedTiles(const FailedTiles&) = delete;
    FailedTiles& operator=(const FailedTiles&) = delete;

    void Add(const HostTile& tile, const std::string& why);
    /// @return whether the list is whole on disk (also when there was nothing to write)
    bool Finish();

    const std::string& GetPath() const { return m_path; }
    std::uint64_t Count() const { return m_count; }

private:
    bool Replace();

    std::string m_path;
    std::string m_temporary;
    std::ofstream m_file;
    std::uint64_t m_count = 0;
};

} // namespace KxTileHost
