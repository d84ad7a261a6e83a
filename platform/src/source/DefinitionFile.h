// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

namespace KxC {

/// The bytes of a regular file of at most 1 MiB. Folders, pipes and devices are refused, so that
/// a path from outside neither blocks nor feeds without end.
/// @param problem  says why there is no result
std::optional<std::string> ReadSmallFile(const std::string& path, std::string& problem);

} // namespace KxC
