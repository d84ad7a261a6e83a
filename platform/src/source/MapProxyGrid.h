// SPDX-License-Identifier: MIT
#pragma once

#include "ForeignParts.h"

#include <yaml-cpp/yaml.h>

namespace KxC {

/// Takes over the grid that a tile source of a MapProxy configuration names: one of MapProxy's
/// own, or one of the configuration's grids.
void ReadMapProxyGrid(const YAML::Node& root,
                      const YAML::Node& source,
                      UrlContext& context,
                      ForeignDefinition& target);

} // namespace KxC
