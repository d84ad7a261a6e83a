// SPDX-License-Identifier: MIT
#include "Font.h"

#include <array>

namespace KxOrigin {

namespace {

struct Glyph
{
    char character = 0;
    std::array<std::string_view, kGlyphHeight> rows;
};

// clang-format off
constexpr std::array<Glyph, 15> kGlyphs{{
    {'0', {" ### ", "#   #", "#  ##", "# # #", "##  #", "#   #", " ### "}},
    {'1', {"  #  ", " ##  ", "  #  ", "  #  ", "  #  ", "  #  ", " ### "}},
    {'2', {" ### ", "#   #", "    #", "   # ", "  #  ", " #   ", "#####"}},
    {'3', {"#####", "   # ", "  #  ", "   # ", "    #", "#   #", " ### "}},
    {'4', {"   # ", "  ## ", " # # ", "#  # ", "#####", "   # ", "   # "}},
    {'5', {"#####", "#    ", "#### ", "    #", "    #", "#   #", " ### "}},
    {'6', {"  ## ", " #   ", "#    ", "#### ", "#   #", "#   #", " ### "}},
    {'7', {"#####", "    #", "   # ", "  #  ", " #   ", " #   ", " #   "}},
    {'8', {" ### ", "#   #", "#   #", " ### ", "#   #", "#   #", " ### "}},
    {'9', {" ### ", "#   #", "#   #", " ####", "    #", "   # ", " ##  "}},
    {'N', {"#   #", "##  #", "# # #", "#  ##", "#   #", "#   #", "#   #"}},
    {'E', {"#####", "#    ", "#    ", "#### ", "#    ", "#    ", "#####"}},
    {'S', {" ####", "#    ", "#    ", " ### ", "    #", "    #", "#### "}},
    {'W', {"#   #", "#   #", "#   #", "# # #", "# # #", "## ##", "#   #"}},
    {'.', {"     ", "     ", "     ", "     ", "     ", " ##  ", " ##  "}},
}};
// clang-format on

const Glyph* FindGlyph(char character)
{
    for (const Glyph& glyph : kGlyphs) {
        if (glyph.character == character)
            return &glyph;
    }
    return nullptr;
}

} // namespace

bool HasInk(char character, int column, int row)
{
    if (column < 0 || column >= kGlyphWidth || row < 0 || row >= kGlyphHeight)
        return false;
    const Glyph* glyph = FindGlyph(character);
    return glyph != nullptr &&
           glyph->rows[static_cast<std::size_t>(row)][static_cast<std::size_t>(column)] == '#';
}

int TextWidth(std::string_view text)
{
    if (text.empty())
        return 0;
    return static_cast<int>(text.size()) * kGlyphAdvance - (kGlyphAdvance - kGlyphWidth);
}

} // namespace KxOrigin
