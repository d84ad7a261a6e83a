// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace KxTileHost {

/// A text and what is shown in its place.
using Replacement = std::pair<std::string, std::string>;

/// Whether a text is an address ("http://...") from its beginning.
bool IsAddress(const std::string& text);

/// The pieces of an address that may be secret: the user and password, and the values of the query
/// but for those that are placeholders. Short ones are replaced only where they stand between
/// the same marks as in the address, for they may be a part of anything.
/// @param name  what is shown instead, such as ${NAME}
/// @return none for an address that anyone may see
std::vector<Replacement> SecretPiecesOf(const std::string& address, const std::string& name);

} // namespace KxTileHost
