// SPDX-License-Identifier: MIT
/// Names for what is kept of a source on disk: another one for each state that shows other tiles.
#pragma once

#include "KxTSDParam.h"

#include <string>

namespace KxTileHost::Serve {

/// 32 hexadecimal digits or a few more, the same for the same text.
std::string HashOf(const std::string& text);

/// What tells one state of a definition from another: all that its record says, its script, and
/// the name that chooses it. What else stands in its file leaves it the same: a comment, or other
/// entries of a list.
/// @param item  as it was loaded, before NameSourceTiles
/// @param path  of the definition, with the "#name" that chooses one of several in it; a script is
///              read from there once more
std::string NameOfDefinition(const KxC::KxTSDParamItem& item, const std::string& path);
/// The same of what the file holds now; empty for one that cannot be read.
std::string NameOfDefinition(const std::string& path);
/// The same for a raster, which is too large to be read for that: its place, size and time.
std::string NameOfRaster(const std::string& path);

/// Gives a definition's tiles a place in the caches that depends on all that chooses what its
/// addresses bring; by the address alone, a corrected definition would go on showing the tiles
/// of before. A plain one keeps the place that it has in the command line's cache.
/// @param name  of the definition's state; empty for one that changed meanwhile
void NameSourceTiles(KxC::KxTSDParamItem& item, const std::string& name);

} // namespace KxTileHost::Serve
