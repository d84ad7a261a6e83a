// SPDX-License-Identifier: MIT
#pragma once

#include "Grids.h"
#include "Pixels.h"

namespace KxOrigin {

/// What tiles show where their grid has no map, as beyond the poles.
inline constexpr Colour kBeyondMap{128, 128, 128};

/// A picture of the whole world: a colour for every longitude and latitude.
/// Threads: const use may be shared.
class Picture
{
public:
    virtual ~Picture() = default;

    /// Draws the part that a window of a grid shows.
    virtual Pixels Draw(const Grid& grid, const PixelWindow& window) const = 0;

protected:
    Picture() = default;
    Picture(const Picture&) = default;
    Picture& operator=(const Picture&) = default;
};

enum class PictureKind { Marble, Graticule };

} // namespace KxOrigin
