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
};

/// The finest spacing whose cells hold their labels at a level.
Spacing SpacingAt(int level);

/// Degrees of a line with the letter of its side, without trailing zeros: "116.25E", "39.5S".
/// @param positive, negative  letters of the two sides; 0 counts as positive
std::string LineLabel(const Spacing& spacing, std::int64_t index, char positive, char negative);

/// Lines one pixel wide at round degrees, each crossing labelled, over ground of two tones whose
/// neighbouring cells differ. It is as sharp at level 22 as at level 0, and a line lies in exactly
/// the pixel whose extent, west and north edge included, contains its position; so a shift of one
/// pixel shows.
class Graticule final : public Picture
{
public:
    static constexpr Colour kLine{36, 54, 92};
    static constexpr Colour kInk{140, 24, 24};
    static constexpr Colour kEvenGround{240, 236, 220};
    static constexpr Colour kOddGround{204, 222, 234};
    static constexpr Colour kBeyondPoles{128, 128, 128};

    Pixels Draw(const Grid& grid, const PixelWindow& window) const override;
};

} // namespace KxOrigin
