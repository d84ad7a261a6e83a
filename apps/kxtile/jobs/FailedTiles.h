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
/// when all is over. One thread at a time.
class FailedTiles
{
public:
    /// @param path    empty writes nothing
    /// @param remark  for people, how to try them again; one line
    explicit FailedTiles(std::string path,
                         std::string remark = "Try them again with --retry and this file.");
    /// Takes back what was not finished.
    ~FailedTiles();
    FailedTiles(const FailedTiles&) = delete;
    FailedTiles& operator=(const FailedTiles&) = delete;

    void Add(const HostTile& tile, const std::string& why);
    /// Puts the list in the place of an earlier run's, which goes also where nothing failed.
    /// @return whether the list is whole on disk (also when there was nothing to write)
    bool Finish();
    /// Ends the list of a run that could not try all tiles: it takes over what the earlier list
    /// names and this one does not. Without a new tile the earlier list stays as it is.
    /// @return as Finish
    bool FinishWithEarlier();

    const std::string& GetPath() const { return m_path; }
    /// Tiles that were added, those of an earlier list included.
    std::uint64_t Count() const { return m_count; }

private:
    void Begin();
    void AddEarlier();
    bool Replace();

    std::string m_path;
    std::string m_temporary;
    std::string m_remark;
    std::ofstream m_file;
    std::uint64_t m_count = 0;
};

} // namespace KxTileHost
