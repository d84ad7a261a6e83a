// SPDX-License-Identifier: MIT
#include "Marble.h"

#include <KxImageData.h>
#include <KxImgUtility.h>

#include <memory>
#include <stdexcept>

extern "C" const unsigned char kxoriginBlueMarble[];
extern "C" const unsigned char kxoriginBlueMarbleEnd[];

namespace KxOrigin {

namespace {

Pixels ToPixels(const KxC::KxImageData& image)
{
    Pixels pixels(image.GetWidth(), image.GetHeight());
    for (int row = 0; row < pixels.height; ++row) {
        // The decoder's rows count from the south, ours from the north.
        const unsigned char* from =
            image.GetData() + static_cast<std::ptrdiff_t>(pixels.height - 1 - row) *
                                  static_cast<std::ptrdiff_t>(image.GetRowBytes());
        for (int column = 0; column < pixels.width; ++column, from += image.GetPixelSize())
            pixels.At(column, row) = {from[0], from[1], from[2]};
    }
    return pixels;
}

} // namespace

Pixels DecodePicture(std::span<const unsigned char> bytes)
{
    const std::unique_ptr<KxC::KxImageData> image(KxC::KxImgUtility::LoadImageData(
        bytes.data(), static_cast<unsigned int>(bytes.size()), KxC::KxString(), 0, 0));
    if (!image || image->GetWidth() < 1 || image->GetHeight() < 1)
        throw std::runtime_error("the picture of the world does not decode");
    return ToPixels(*image);
}

std::span<const unsigned char> EmbeddedBlueMarble()
{
    return {kxoriginBlueMarble, kxoriginBlueMarbleEnd};
}

} // namespace KxOrigin
