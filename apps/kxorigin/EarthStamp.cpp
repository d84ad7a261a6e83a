// SPDX-License-Identifier: MIT
#include "EarthStamp.h"

#include "Font.h"

#include <KxImgUtility.h>

#include <cstdlib>
#include <memory>
#include <stdexcept>

namespace KxOrigin {

namespace {

constexpr int kLetterScale = 4; ///< pixels to a dot of the font
constexpr Colour kLetters{255, 255, 255};

/// Half of each.
std::uint8_t Blend(std::uint8_t a, std::uint8_t b)
{
    return static_cast<std::uint8_t>((a + b) / 2);
}

void DrawBlock(Pixels& pixels, int left, int top)
{
    for (int row = top; row < top + kLetterScale; ++row) {
        for (int column = left; column < left + kLetterScale; ++column)
            pixels.At(column, row) = kLetters;
    }
}

void DrawLetter(Pixels& pixels, int left, int top, char letter)
{
    for (int row = 0; row < KxDrawing::kGlyphHeight; ++row) {
        for (int column = 0; column < KxDrawing::kGlyphWidth; ++column) {
            if (KxDrawing::HasInk(letter, column, row))
                DrawBlock(pixels, left + column * kLetterScale, top + row * kLetterScale);
        }
    }
}

/// Grey and alpha are the same, so that a reader may take either.
Bytes AlphaPng(const Pixels& pixels)
{
    Bytes rows;
    for (int i = 0; i < pixels.width * pixels.height; ++i)
        rows.insert(rows.end(), 4, i % pixels.width < pixels.width / 2 ? 255 : 0);
    unsigned char* data = nullptr;
    unsigned int size = 0;
    const int saved = KxC::KxImgUtility::SaveImageToMemory(
        rows.data(), pixels.width, pixels.height, 32, data, size, ".png", 0);
    const std::unique_ptr<unsigned char, decltype(&std::free)> owner(data, &std::free);
    if (saved != 1)
        throw std::runtime_error("the alpha channel does not encode");
    return {data, data + size};
}

} // namespace

void StampDate(Pixels& pixels, const EarthHistoryDate& date)
{
    for (Colour& colour : pixels.data)
        colour = {Blend(colour.red, date.tint.red),
                  Blend(colour.green, date.tint.green),
                  Blend(colour.blue, date.tint.blue)};
    const std::string_view text = date.Text();
    int left = (pixels.width - KxDrawing::TextWidth(text) * kLetterScale) / 2;
    const int top = (pixels.height - KxDrawing::kGlyphHeight * kLetterScale) / 2;
    for (const char letter : text) {
        DrawLetter(pixels, left, top, letter);
        left += KxDrawing::kGlyphAdvance * kLetterScale;
    }
}

Pixels Crop(const Pixels& pixels, int edge)
{
    Pixels cropped(edge, edge);
    for (int row = 0; row < edge; ++row) {
        for (int column = 0; column < edge; ++column)
            cropped.At(column, row) = pixels.At(column, row);
    }
    return cropped;
}

Bytes EncodeEarthPicture(const EarthOptions& options, const Pixels& pixels, int provider)
{
    const Bytes picture = Encode(pixels, options.isPng ? Format::Png : Format::Jpeg);
    if (!options.isWrapped && !options.hasAlpha)
        return picture;
    return WrapEarthImage(options.isPng ? EarthImageType::Png : EarthImageType::Jpeg,
                          picture,
                          options.hasAlpha ? AlphaPng(pixels) : Bytes(),
                          provider);
}

} // namespace KxOrigin
