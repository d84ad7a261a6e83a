// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace KxC {

/// The bytes of a regular file of at most 1 MiB. Folders, pipes and devices are refused, so that
/// a path from outside neither blocks nor feeds without end.
/// @param problem  says why there is no result
std::optional<std::string> ReadSmallFile(const std::string& path, std::string& problem);

/// The first line on which a key has more parts ("a.b.c") than any definition needs, 0 when none
/// has. Every part is a level of nesting in the parsed tree, and a tree as deep as a file is long
/// exhausts the stack when it is taken down.
int FindTooDeepKey(std::string_view toml);

} // namespace KxC
