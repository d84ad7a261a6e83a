// SPDX-License-Identifier: MIT
/// The temporary files under which the library writes what is to appear whole.
#pragma once

#include <string>
#include <vector>

namespace KxTileHost {

/// Removes the temporary files of this process, though other threads may just be writing them,
/// and keeps the process from opening any file from now on: it is to end at once.
void RemoveUnfinishedForGood(const std::vector<std::string>& folders) noexcept;

/// Removes from a folder the temporary files, and folders with what is in them, of processes that
/// are no more: .kxtile-<process>-<anything>.tmp, and with an extension behind that.
void RemoveOrphans(const std::string& folder);

} // namespace KxTileHost
