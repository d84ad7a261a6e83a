// SPDX-License-Identifier: MIT
/// The definitions that come with the program, found by their bare names.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace KxTileHost {

struct ReadySource
{
    std::string m_name; ///< file name without extension
    std::filesystem::path m_path;
};

/// Where ready definitions lie: the folders of $KXTILE_SOURCES_PATH, which are separated by colons
/// and replace, when set, the folder that was installed with the program.
std::vector<std::filesystem::path> ReadySourceFolders();

/// All of them by name; of two with one name, the one of the earlier folder.
std::vector<ReadySource> ListReadySources();

/// Whether a text may be the name of a ready definition: letters, digits, '-' and '_' only.
bool IsReadySourceName(const std::string& text);

/// The definition of that name, or none.
std::optional<std::filesystem::path> FindReadySource(const std::string& name);

} // namespace KxTileHost
