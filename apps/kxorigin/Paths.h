// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace KxOrigin {

constexpr std::size_t kLongestPath = 2048; ///< bytes

/// The parts of a path between its slashes, percent sequences decoded: "/a/b%2Fc" gives "a" and
/// "b/c", so an encoded slash never separates.
/// @param path  as it came in the request, starting with a slash
/// @return nothing when a percent sign is not followed by two hexadecimal digits or the path does
///         not start with a slash
std::optional<std::vector<std::string>> SplitPath(std::string_view path);

/// A whole decimal number with an optional minus sign and nothing around it.
/// @return nothing for another text; numbers too large for TileNumbers come back as
///         +-TileNumbers::kFarOutside, which no grid holds
std::optional<std::int64_t> ReadNumber(std::string_view text);

/// As ReadNumber, but numbers below 0 are written with an M in place of the minus sign: "M5".
std::optional<std::int64_t> ReadMarkedNumber(std::string_view text);

/// The value of the first "name=value" of a query; empty when there is none.
/// @param query  as it came; its percent sequences stay
std::string_view QueryValue(std::string_view query, std::string_view name);

} // namespace KxOrigin
