// SPDX-License-Identifier: MIT
#pragma once

#include "Definition.h"
#include "Report.h"

#include <string>
#include <string_view>
#include <vector>

namespace KxC {

/// Reads and checks a definition file, in whatever form it is written. The result is good only
/// when the report has not failed.
/// @param path  a file; of one that holds several sources "#name" behind it chooses one
Definition ReadDefinition(const std::string& path, Report& report);

/// The same from memory.
/// @param path  where the text would stand: its folder and its "#name" count
Definition ReadDefinitionText(std::string_view text, const std::string& path, Report& report);

/// The names of the sources in a file of several; none for other forms, and where it cannot be read.
std::vector<std::string> ReadSourceNames(const std::string& path);

} // namespace KxC
