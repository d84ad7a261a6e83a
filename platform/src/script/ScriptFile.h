// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

namespace KxC {

inline constexpr std::size_t kMaxScriptBytes = std::size_t{1} << 20;

/// The text of a script: a regular file of at most 1 MiB.
/// @param problem  says why there is no result
std::optional<std::string> ReadScriptFile(const std::string& path, std::string& problem);

} // namespace KxC
