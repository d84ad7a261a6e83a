// SPDX-License-Identifier: MIT
/// Names for what is kept of a source on disk: another one for each state that shows other tiles.
#pragma once

#include "KxTSDParam.h"

#include <string>

namespace KxTileHost::Serve {

/// What tells one state of a definition from another: its bytes. Empty for a file that cannot be
/// read.
/// @param path  of the definition, with the "#name" that chooses one of several in it
std::string NameOfDefinition(const std::string& path);
/// The same for a raster, which is too large to be read for that: its place, size and time.
std::string NameOfRaster(const std::string& path);

/// Gives a definition's tiles a place in the caches that depends on all that chooses what its
/// addresses bring; by the address alone, a corrected definition would go on showing the tiles
/// of before. A plain one keeps the place that it has in the command line's cache.
/// @param name  of the definition's state; empty for one that changed meanwhile
void NameSourceTiles(KxC::KxTSDParamItem& item, const std::string& name);

} // namespace KxTileHost::Serve
