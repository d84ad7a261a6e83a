// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <string_view>

namespace KxC {

/// An upper estimate of the steps that matching a Lua pattern against a text of `textBytes` bytes
/// takes. Every repetition may try every length, and so may the start of the match: the estimate
/// is (n + 1) to the power of their number, times what one path through the pattern costs.
double EstimatePatternWork(std::string_view pattern, std::size_t textBytes);

/// The same for a search of plain text.
double EstimateSearchWork(std::size_t wantedBytes, std::size_t textBytes);

/// Whether a text has none of the characters that make it a pattern.
bool IsPlainPattern(std::string_view pattern);

} // namespace KxC
