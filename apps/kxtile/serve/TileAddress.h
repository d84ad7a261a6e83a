// SPDX-License-Identifier: MIT
#pragma once

#include "serve/Answer.h"
#include "serve/Route.h"
#include "serve/Source.h"

#include <optional>
#include <string>

namespace KxTileHost::Serve {

/// Brings the numbers of an address into a tile's, rows from the north, and refuses what the source
/// has not.
/// @param tile  receives it
/// @return the refusal: 400 for what can be no tile, 404 for levels that the source has not; null
///         when there is none
AnswerPtr CheckTile(const Source& source, const Route& route, TileRequest& tile);

/// Reads "2020-01-31".
/// @return nothing for what is no day
std::optional<DayNumber> ReadDay(const std::string& text);

} // namespace KxTileHost::Serve
