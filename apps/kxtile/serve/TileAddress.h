// SPDX-License-Identifier: MIT
#pragma once

#include "serve/Answer.h"
#include "serve/Route.h"
#include "serve/Source.h"

#include <string>

namespace KxTileHost::Serve {

/// Brings the numbers of an address into a tile's, rows from the north, and refuses what the source
/// has not.
/// @param tile  receives it
/// @return the refusal: 400 for what can be no tile, 404 for levels that the source has not; null
///         when there is none
AnswerPtr CheckTile(const Source& source, const Route& route, TileRequest& tile);

/// Reads the day that is asked for: "2020-01-31", or nothing.
/// @param day  receives it
/// @return the refusal of what is no day, and of days of sources without history; null when there
///         is none
AnswerPtr CheckDay(const Source& source, const std::string& text, DayNumber& day);

} // namespace KxTileHost::Serve
