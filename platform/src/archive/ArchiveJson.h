// SPDX-License-Identifier: MIT
#pragma once

#include "KxTileArchiveWriter.h"

#include <string>

namespace KxC {

/// What a PMTiles archive says of itself beside its header: a JSON object. Bytes that are no UTF-8
/// become '?'.
std::string MetadataJson(const KxTileArchiveMetadata& metadata);

} // namespace KxC
