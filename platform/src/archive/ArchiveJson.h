// SPDX-License-Identifier: MIT
#pragma once

#include "KxTileArchiveWriter.h"

#include <string>
#include <string_view>

namespace KxC {

/// What a PMTiles archive says of itself beside its header: a JSON object. Bytes that are no UTF-8
/// become '?'.
std::string MetadataJson(const KxTileArchiveMetadata& metadata);

/// The text as archives can keep it: '?' for control characters and for bytes that are no UTF-8.
std::string OriginAsKept(std::string_view origin);

/// What such an object says in KxTileArchiveMetadata::m_strOrigin; empty where it says nothing.
std::string OriginIn(std::string_view json);

} // namespace KxC
