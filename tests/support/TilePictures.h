// SPDX-License-Identifier: MIT
#pragma once

#include "KxImgUtility.h"

#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace KxC {

/// Square pictures as tiles are stored, with pixels that tell where they belong.
namespace TilePictures {

/// @param pixels  R, G, B; rows from the south
inline std::string Png(const std::vector<unsigned char>& pixels, int side)
{
    unsigned char* data = nullptr;
    unsigned int size = 0;
    if (KxImgUtility::SaveImageToMemory(pixels.data(), side, side, 24, data, size, ".png", 0) == 0)
        throw std::runtime_error("no picture");
    const std::unique_ptr<unsigned char, decltype(&std::free)> owner(data, &std::free);
    return {reinterpret_cast<const char*>(data), size};
}

/// A picture of one colour, 256 pixels a side.
inline std::string PngOf(unsigned char red, unsigned char green, unsigned char blue)
{
    std::vector<unsigned char> pixels;
    for (int i = 0; i < 256 * 256; ++i)
        pixels.insert(pixels.end(), {red, green, blue});
    return Png(pixels, 256);
}

/// The colour of a pixel of a level whose side has at most 4096 of them: column in red, row counted
/// from the south in green, the rest of both in blue.
inline unsigned int ColourOfPlace(int col, int row)
{
    const auto x = static_cast<unsigned int>(col);
    const auto y = static_cast<unsigned int>(row);
    return (x & 0xFFU) << 16U | (y & 0xFFU) << 8U | (x >> 8U) << 4U | y >> 8U;
}

/// A tile of such a level; its row counts from the south.
inline std::string PngOfPlace(int row, int col, int side = 256)
{
    std::vector<unsigned char> pixels;
    for (int y = 0; y < side; ++y)
        for (int x = 0; x < side; ++x) {
            const unsigned int colour = ColourOfPlace(col * side + x, row * side + y);
            for (const unsigned int shift : {16U, 8U, 0U})
                pixels.push_back(static_cast<unsigned char>(colour >> shift));
        }
    return Png(pixels, side);
}

} // namespace TilePictures

} // namespace KxC
