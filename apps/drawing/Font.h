// SPDX-License-Identifier: MIT
#pragma once

#include <string_view>

namespace KxDrawing {

constexpr int kGlyphWidth = 5;   ///< pixels
constexpr int kGlyphHeight = 7;  ///< pixels
constexpr int kGlyphAdvance = 6; ///< pixels from one character to the next

/// Whether a pixel of a character is ink. The font has letters, in capitals only, digits and some
/// punctuation; everything else has no ink.
/// @param column, row  counted from the upper left; outside the glyph there is no ink
bool HasInk(char character, int column, int row);

/// Pixels across that a text takes, without the gap behind its last character.
int TextWidth(std::string_view text);

} // namespace KxDrawing
