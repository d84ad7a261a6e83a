// SPDX-License-Identifier: MIT
#pragma once

#include "KxRawDataTypeCache.h"

#include <string>
#include <string_view>
#include <vector>

namespace KxC {

/// Where sub-trees lie on disk: <cache folder>/tiles/<name>.mbtiles, output/ for those of hosts.

/// Whether `name` is a plain file name: [A-Za-z0-9._-], no leading dot, 1 to 200 bytes.
bool IsSubTreeName(std::string_view name);
/// The folder of a cache type, beneath KxFile::m_strAppCachePath.
std::string SubTreeFolder(KxRawDataTypeCacheManager::CacheType type);

/// Whether the cache keeps things of that type.
bool IsCacheType(KxRawDataTypeCacheManager::CacheType type);
std::string SubTreePath(std::string_view folder, std::string_view name);
/// The names of the sub-trees in `folder`, sorted; none when it cannot be read.
std::vector<std::string> SubTreeNames(const std::string& folder);
/// The names of the files in `folder` that are sub-trees set aside as damaged, sorted.
std::vector<std::string> DamagedFileNames(const std::string& folder);
/// Bytes of the database and its write-ahead log.
unsigned long long SubTreeBytes(const std::string& path);

} // namespace KxC
