// SPDX-License-Identifier: MIT
/// The world-wide grids that other programs' forms describe, in our words.
#pragma once

#include "Definition.h"
#include "UrlTemplate.h"

#include <string_view>

namespace KxC {

enum class GridSystem { None, Mercator, Geographic };

/// The system that a name such as "EPSG:3857" stands for, None when it is neither.
GridSystem SystemOfName(std::string_view name);

/// Whether an extent is the whole world of a system.
bool IsWholeWorld(GridSystem system, double west, double south, double east, double north);

/// Takes over a grid of the whole world that halves from level to level.
/// @param columns  tiles side by side on the form's level 0, a power of two
/// @param fromSouth  rows count from the south edge
void TakeGrid(
    GridSystem system, int columns, bool fromSouth, Definition& definition, UrlContext& context);

/// The form's last level as one of ours.
int LevelOfForm(int level, const UrlContext& context);

} // namespace KxC
