// SPDX-License-Identifier: MIT
#pragma once

#include "Pictures.h"

#include <cstdint>
#include <string>

namespace KxOrigin {

/// Degrees between two lines: numerator / 10^decimals, so that every line's degrees have an exact
/// decimal text.
struct Spacing
{
    int numerator = 90;
    int decimals = 0;

    double Degrees() const;
    /// Degrees of the line with an index; index 0 is the equator or the meridian of Greenwich.
    double LineDegrees(std::int64_t index) const;
    /// How many lines fit between 0 and some degrees; below 0 to the west and south.
    double Lines(double degrees) const;
};

/// The finest spacing whose lines lie at least kSmallestCell apart.
/// @param pixelsPerDegree  above 0
Spacing SpacingAt(double pixelsPerDegree);

/// Pixels between two lines, across.
constexpr int kSmallestCell = 24;

/// Every how many lines the crossings are labelled, so that labels keep off each other.
int LabelStep(const Spacing& spacing, double pixelsPerDegree);

/// Degrees of a line with the letter of its side, without trailing zeros: "116.25E", "39.5S".
/// @param positive, negative  letters of the two sides; 0 counts as positive
std::string LineLabel(const Spacing& spacing, std::int64_t index, char positive, char negative);

/// Lines one pixel wide at round degrees of WGS 84, labelled where they cross, over light ground of
/// two tones whose neighbouring cells differ. It is as sharp at level 22 as at level 0.
///
/// In each row of pixels a meridian lies in exactly the pixel whose extent, west edge included,
/// contains the point where the meridian crosses the row's middle; in each column a parallel lies
/// in exactly the pixel that contains, north edge included, the point where it crosses the
/// column's middle. So a shift of one pixel shows. In grids of a shifted datum those points are
/// good to kMapTolerance pixels.
class Graticule final : public Picture
{
public:
    static constexpr Colour kMeridian{220, 0, 0};
    static constexpr Colour kParallel{0, 0, 220};
    static constexpr Colour kCrossing{120, 0, 120};
    static constexpr Colour kInk{0, 96, 0};
    static constexpr Colour kEvenGround{240, 236, 220};
    static constexpr Colour kOddGround{204, 222, 234};

    Pixels Draw(const Grid& grid, const PixelWindow& window) const override;
};

} // namespace KxOrigin
