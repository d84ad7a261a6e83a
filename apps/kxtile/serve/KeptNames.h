// SPDX-License-Identifier: MIT
#pragma once

#include "SourceArgument.h"
#include "serve/TileRequest.h"

#include <set>
#include <string>

namespace KxTileHost::Serve {

/// The names under which a source's tiles are kept on disk.
struct KeptNames
{
    std::set<std::string> m_sourceTiles; ///< by the command line and by the gateway
    std::set<std::string> m_outputs;     ///< Source::m_outputName

    bool HoldsSourceTiles(const std::string& name) const { return m_sourceTiles.count(name) > 0; }
    /// @param name  of one size and format of output tiles
    bool HoldsOutput(const std::string& name) const;
};

/// Those of a definition in its present state, where it is a list all its sources that can be read;
/// of a template; or of a raster.
/// @throws CommandError when the definition cannot be read, the raster is not there, or the
/// template
///         is none
KeptNames KeptNamesOf(const SourceArgument& source);

/// The name of a source's output tiles of one size and format.
std::string OutputPartName(const std::string& outputName, int size, TileFormat format);

} // namespace KxTileHost::Serve
