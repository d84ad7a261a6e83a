// SPDX-License-Identifier: MIT
#pragma once

#include <string_view>

namespace KxC {

/// The first line on which a key has more parts ("a.b.c") than any definition needs, 0 when none
/// has. Every part is a level of nesting in the parsed tree, and a tree as deep as a file is long
/// exhausts the stack when it is taken down.
int FindTooDeepKey(std::string_view toml);

} // namespace KxC
