// SPDX-License-Identifier: MIT
#pragma once

#include "KxImageData.h"

#include <optional>

namespace KxC::Testing {

/// Which lines of kxorigin's graticule: meridians are red and go up, parallels are blue and go
/// across.
enum class Lines { Meridians, Parallels };

/// Finds a line of the graticule in a picture, also in one that JPEG has softened: the median,
/// over all rows (columns), of the middle of the line's colour.
/// @param expected  pixels from the picture's west (south) edge to the middle of its pixel 0 count
///                  as 0; looked for within `reach` pixels of it
/// @return nothing when fewer than a third of the rows (columns) show the line
std::optional<double> FindLine(const KxImageData& image, Lines lines, double expected, int reach);

/// Degrees between two lines, by the service's documented rule: the finest round number of degrees
/// whose cells are at least 24 pixels wide.
double LineSpacing(double pixelsPerDegree);

} // namespace KxC::Testing
