// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace KxTileHost {

/// Levels from the first to the last, both included, in [0, 30].
struct LevelRange
{
    int m_first = 0;
    int m_last = 0;
};

/// Reads "A-B" or "A".
/// @throws CommandError (wrong usage) for anything else, and for levels that there are not
LevelRange ParseLevelRange(const std::string& text);

} // namespace KxTileHost
