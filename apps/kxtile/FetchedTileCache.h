// SPDX-License-Identifier: MIT
/// Whether the disk cache takes tiles, so that a command on many tiles does not learn it at each.
#pragma once

namespace KxTileHost {

/// Tries it at the first call; false from the first failure on, about which people are told once.
/// Any thread.
bool IsDiskCacheWritable();

/// A tile was not kept, though all else went well: the disk is full by now, or the database is
/// somebody else's. Any thread.
void NoteDiskCacheUnwritable();

} // namespace KxTileHost
