// SPDX-License-Identifier: MIT
/// Copying pixels between pictures with and without alpha. Pixels without alpha become opaque
/// where the destination has alpha; surplus alpha is dropped.
#pragma once

#include "KxImageData.h"

#include <cstddef>
#include <cstring>
#include <vector>

namespace KxC {

/// Where pixels begin, and how many bytes each has: 3 or 4.
template <class Byte>
struct PixelRow
{
    Byte* m_bytes;
    int m_pixelSize;
};

template <class Image>
auto PixelOf(Image& image, int row, int column)
{
    return image.GetData() +
           static_cast<std::ptrdiff_t>(row) * static_cast<std::ptrdiff_t>(image.GetRowBytes()) +
           static_cast<std::ptrdiff_t>(column) * static_cast<std::ptrdiff_t>(image.GetPixelSize());
}

/// Copies one pixel of FromSize bytes to one of ToSize.
template <int FromSize, int ToSize>
void CopyPixel(const unsigned char* from, unsigned char* to)
{
    constexpr unsigned char kOpaque = 255;
    std::memcpy(to, from, FromSize < ToSize ? FromSize : ToSize);
    if (FromSize < ToSize)
        to[3] = kOpaque;
}

/// Copies `count` pixels side by side.
void CopyPixels(const PixelRow<const unsigned char>& from,
                const PixelRow<unsigned char>& to,
                std::size_t count);

/// Copies the pixels of the given columns to pixels side by side.
void GatherPixels(const PixelRow<const unsigned char>& from,
                  const PixelRow<unsigned char>& to,
                  const std::vector<int>& columns);

} // namespace KxC
