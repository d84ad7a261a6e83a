// SPDX-License-Identifier: MIT
#pragma once

#include "KxRawData.h"
#include "serve/Source.h"

#include <memory>

namespace KxTileHost::Serve {

/// Output tiles kept on disk between runs, beside the services' own. Any thread; waits for the
/// disk. Does nothing while the disk cache is off.
/// @{

/// Null when it is not there.
std::unique_ptr<KxC::KxRawData> LoadOutput(const Source& source, const TileRequest& tile);
void SaveOutput(const Source& source, const TileRequest& tile, const KxC::KxRawData& bytes);

/// Leaves a word for people on whose tiles the services' own are that are kept of the source.
void DescribeSourceTiles(const Source& source);

/// @}

} // namespace KxTileHost::Serve
