// SPDX-License-Identifier: MIT
#pragma once

#include "UrlTemplate.h"

#include <string>
#include <vector>

namespace KxC {

/// A Lua script that writes an address out of its pieces. Texts are quoted, so that nothing of
/// the address is run.
/// @param servers  for placeholders that bring none of their own
std::string MakeUrlScript(const std::vector<UrlToken>& tokens,
                          const UrlContext& context,
                          const std::vector<std::string>& servers);

} // namespace KxC
