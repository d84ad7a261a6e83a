// SPDX-License-Identifier: MIT
/// Makes what is served of definitions and rasters. For one thread at a time.
#pragma once

#include "serve/Source.h"

#include <memory>
#include <string>

namespace KxTileHost::Serve {

/// Loads a definition or opens a raster. It never fails: what is wrong is in m_error.
/// @param path  as named on the command line, "#name" and all; or a URL template
/// @param id    names it in addresses
std::shared_ptr<Source> LoadSource(const std::string& path, const std::string& id);

/// Fills what follows from the record: levels, bounds, format, kind.
void DescribeService(Source& source);

/// Whether a reader plug-in takes files of that name.
bool IsRasterPath(const std::string& path);
/// Whether what is named is opened as a raster, not loaded as a definition.
bool IsTakenForRaster(const std::string& path);
/// Whether a file in a folder is taken for a definition, by its extension.
bool IsDefinitionPath(const std::string& path);

/// A number that no state of any source had before.
unsigned NextGeneration();

} // namespace KxTileHost::Serve
