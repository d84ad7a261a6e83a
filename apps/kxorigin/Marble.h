// SPDX-License-Identifier: MIT
#pragma once

#include "Pictures.h"

#include <span>

namespace KxOrigin {

/// The world as a plate carrée photograph: column 0 starts at 180° W, row 0 at 90° N.
///
/// A tile's pixel is the mean of what its extent covers, exactly, edges weighted by their share.
/// An extent smaller than one source pixel is widened to one about its centre, which is bilinear
/// interpolation; so the picture has no seam between the levels that shrink and those that enlarge.
class Marble final : public Picture
{
public:
    /// @param source  360 x 180 degrees; at least one pixel
    explicit Marble(Pixels source);

    Pixels Draw(const Grid& grid, const PixelWindow& window) const override;

private:
    Pixels m_source;
};

/// Decodes a picture file through the product's own decoder.
/// @throws std::runtime_error when the bytes do not decode
Pixels DecodePicture(std::span<const unsigned char> bytes);

/// The Blue Marble that is part of this program.
std::span<const unsigned char> EmbeddedBlueMarble();

} // namespace KxOrigin
