// SPDX-License-Identifier: MIT
/// The files of the map page, which are part of the program.
#pragma once

#include "serve/Answer.h"

#include <string>

namespace KxTileHost::Serve {

/// @param name  path inside the page's folder, "index.html"
/// @return null when there is no such file. Answers are made once and shared
AnswerPtr FindAsset(const std::string& name);

/// Type of a file by its extension.
std::string ContentTypeOf(const std::string& name);

} // namespace KxTileHost::Serve
