// SPDX-License-Identifier: MIT
/// The words that stand between the braces of an address.
#pragma once

#include "UrlTokens.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace KxC {

/// More servers than any service has.
constexpr std::size_t kMaxServers = 64;

/// What the library's own words mean, such as "$x".
std::optional<UrlTokenKind> MeaningOfOwnWord(std::string_view word);
/// What other programs' words mean, such as "x".
std::optional<UrlTokenKind> MeaningOfWord(std::string_view word);
/// The same for MapProxy's "%(x)s".
std::optional<UrlTokenKind> MeaningOfMapProxyWord(std::string_view word);

/// "z+1", "zoom-1": what is added to the level.
std::optional<int> LevelOffset(std::string_view group);

/// The choices of "switch:a,b", "a-c" and "0-3", up to one more than there may be; none for other
/// words.
std::vector<std::string> ServersOf(std::string_view group);

/// Whether a group looks like a name rather than like a text that happens to stand in braces.
bool LooksNamed(std::string_view group);

/// Whether a group that means nothing would mean something in lower case or without its dollar.
bool IsMisspelt(std::string_view group);

/// What to say of a named group that means nothing here, to be put behind it.
std::string VerdictOnUnknown(std::string_view group);

} // namespace KxC
