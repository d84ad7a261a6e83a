// SPDX-License-Identifier: MIT
#pragma once

#include <string_view>

namespace KxC {

bool IsDefinitionKey(std::string_view key);
bool IsBoundsKey(std::string_view key);

/// The key that was probably meant, empty when none is near.
std::string_view NearestDefinitionKey(std::string_view key);
std::string_view NearestBoundsKey(std::string_view key);

/// Of `candidates`, separated by blanks, the one nearest to a mistyped word: at most two letters
/// wrong, case aside, and no more than half of them. Empty when none is.
std::string_view NearestWord(std::string_view word, std::string_view candidates);

} // namespace KxC
