// SPDX-License-Identifier: MIT
#pragma once

#include "TileArchive.h"

#include <functional>

namespace KxC {

/// @return false to hear of no more
using PlaceVisitor = std::function<bool(const ArchivePlace& place)>;

/// Visit the places on the grid that have a tile. A place may come twice.
/// @throws ArchiveError when the file cannot be read
/// @{
void VisitMbTiles(const std::string& path, const PlaceVisitor& visitor);
void VisitPmTiles(const std::string& path, const PlaceVisitor& visitor);
/// @}

/// What the tiles were made from; empty where the archive does not say it.
/// @throws ArchiveError when the file cannot be read
/// @{
std::string OriginOfMbTiles(const std::string& path);
std::string OriginOfPmTiles(const std::string& path);
/// @}

} // namespace KxC
