// SPDX-License-Identifier: MIT
#pragma once

#include "Report.h"

#include <yaml-cpp/yaml.h>

#include <optional>
#include <string>
#include <string_view>

namespace KxC {

/// Parses a YAML text of bounded depth and size without anchors, so that no small text unfolds
/// into a large one; what is wrong with it is reported.
std::optional<YAML::Node> ParseYaml(std::string_view text, Report& report);

/// The value of a key of a map; a null one when there is none, or no map.
YAML::Node Child(const YAML::Node& map, const std::string& key);

/// The line of a node, from 1; 0 when it has none.
int LineOf(const YAML::Node& node);

/// A scalar's text; nothing for lists and maps.
std::optional<std::string> TextOf(const YAML::Node& node);

} // namespace KxC
