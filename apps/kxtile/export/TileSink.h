// SPDX-License-Identifier: MIT
#pragma once

#include "HostTile.h"
#include "KxRawData.h"

#include <string>

namespace KxTileHost {

/// One file that tiles are gathered in. It appears under its name only when it is whole, and what
/// it was made of is gone with this object.
class TileSink
{
public:
    virtual ~TileSink() = default;
    TileSink(const TileSink&) = delete;
    TileSink& operator=(const TileSink&) = delete;

    /// Adds an encoded tile. Any thread.
    /// @throws std::runtime_error when it does not take this tile
    virtual void Add(const HostTile& tile, const KxC::KxRawData& bytes) = 0;
    /// Whether nothing more can be written; tiles need no longer be fetched then. Any thread.
    virtual bool HasFailed() const = 0;
    /// Completes the file; what other threads add from now on is not taken.
    /// @throws CommandError
    virtual void Finish() = 0;
    /// Removes what was begun, though other threads may be at Add or Finish: the process is to end
    /// at once.
    virtual void Abandon() noexcept = 0;

protected:
    TileSink() = default;
};

/// The folder in which a file is made.
std::string FolderOf(const std::string& path);

/// The failure of a file that cannot be written.
[[noreturn]] void ThrowUnwritable(
    const std::string& path,
    const std::string& why,
    const std::string& hint = "Check that the folder exists, may be written, and has room.");

} // namespace KxTileHost
