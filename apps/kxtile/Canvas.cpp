// SPDX-License-Identifier: MIT
#include "Canvas.h"

#include "Font.h"

namespace KxTileHost {

namespace {

Colour Blend(const std::array<unsigned char, 4>& pixel, const Colour& ground)
{
    Colour blended{};
    for (std::size_t i = 0; i < blended.size(); ++i)
        blended[i] =
            static_cast<unsigned char>((pixel[i] * pixel[3] + ground[i] * (255 - pixel[3])) / 255);
    return blended;
}

} // namespace

void Canvas::Set(int column, int row, const Colour& colour)
{
    m_image.SetValue(m_image.GetHeight() - 1 - row, column, colour.data(), 3);
}

void Canvas::Fill(int left, int top, int width, int height, const Colour& colour)
{
    for (int row = top; row < top + height; ++row)
        for (int column = left; column < left + width; ++column)
            Set(column, row, colour);
}

void Canvas::Write(
    int left, int top, int width, int scale, std::string_view text, const Colour& ink)
{
    const int fitting = width / (KxDrawing::kGlyphAdvance * scale);
    text = text.substr(0, static_cast<std::size_t>(fitting));
    for (const char character : text) {
        for (int row = 0; row < KxDrawing::kGlyphHeight * scale; ++row)
            for (int column = 0; column < KxDrawing::kGlyphWidth * scale; ++column)
                if (KxDrawing::HasInk(character, column / scale, row / scale))
                    Set(left + column, top + row, ink);
        left += KxDrawing::kGlyphAdvance * scale;
    }
}

void Canvas::Place(
    int left, int top, int side, const KxC::KxImageData& picture, const Colour& ground)
{
    for (int row = 0; row < side; ++row)
        for (int column = 0; column < side; ++column) {
            std::array<unsigned char, 4> pixel{};
            const double u = (column + 0.5) / side;
            const double v = 1.0 - (row + 0.5) / side;
            if (picture.GetValue2(u, v, pixel.data(), 4) != 0)
                Set(left + column, top + row, Blend(pixel, ground));
        }
}

} // namespace KxTileHost
