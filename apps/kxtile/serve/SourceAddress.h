// SPDX-License-Identifier: MIT
/// How a source's tiles are asked for from this gateway.
#pragma once

#include "serve/Source.h"

#include <array>
#include <memory>
#include <string>

namespace KxTileHost::Serve {

/// The extension of addresses in lists, with its point; empty where the natural format is best
/// asked for without one.
std::string ListedExtension(const Source& source);
/// The same for programs that must know the format.
TileFormat FixedFormat(const Source& source);

/// The gateway's own tiles as a source, so that it can be written in the forms for other programs.
/// @param day  of history imagery; 0 for the newest
std::unique_ptr<KxC::KxTSDParamItem> AsServedItem(const Source& source,
                                                  const std::string& base,
                                                  const std::string& extension,
                                                  DayNumber day = 0);

/// Longitude, latitude and level to begin with.
std::array<double, 3> CenterOf(const Source& source);

} // namespace KxTileHost::Serve
