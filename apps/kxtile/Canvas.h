// SPDX-License-Identifier: MIT
#pragma once

#include "KxImageData.h"

#include <array>
#include <string_view>

namespace KxTileHost {

using Colour = std::array<unsigned char, 3>;

/// Draws on a picture of 3 bytes a pixel, with rows counted from the top. What lies outside the
/// picture is not drawn.
class Canvas
{
public:
    explicit Canvas(KxC::KxImageData& image) : m_image(image) {}

    void Set(int column, int row, const Colour& colour);
    void Fill(int left, int top, int width, int height, const Colour& colour);

    /// Draws a text, cut off at `width` pixels.
    /// @param scale  pixels of the picture for one of the font
    void Write(int left, int top, int width, int scale, std::string_view text, const Colour& ink);

    /// Draws a picture scaled to a square; where it is transparent, `ground` shows through.
    void Place(int left, int top, int side, const KxC::KxImageData& picture, const Colour& ground);

private:
    KxC::KxImageData& m_image;
};

} // namespace KxTileHost
