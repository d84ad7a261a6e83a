// SPDX-License-Identifier: MIT
#include "PixelCopy.h"

namespace KxC {

namespace {

/// @param columnOf  (i) -> column of the source pixel
template <int FromSize, int ToSize, class ColumnOf>
void CopyEach(const unsigned char* from, unsigned char* to, std::size_t count, ColumnOf columnOf)
{
    for (std::size_t i = 0; i < count; ++i)
        CopyPixel<FromSize, ToSize>(from + FromSize * columnOf(i), to + ToSize * i);
}

template <class ColumnOf>
void CopyEachBySize(const PixelRow<const unsigned char>& from,
                    const PixelRow<unsigned char>& to,
                    std::size_t count,
                    ColumnOf columnOf)
{
    if (from.m_pixelSize == 4 && to.m_pixelSize == 4)
        CopyEach<4, 4>(from.m_bytes, to.m_bytes, count, columnOf);
    else if (from.m_pixelSize == 4)
        CopyEach<4, 3>(from.m_bytes, to.m_bytes, count, columnOf);
    else if (to.m_pixelSize == 4)
        CopyEach<3, 4>(from.m_bytes, to.m_bytes, count, columnOf);
    else
        CopyEach<3, 3>(from.m_bytes, to.m_bytes, count, columnOf);
}

} // namespace

void CopyPixels(const PixelRow<const unsigned char>& from,
                const PixelRow<unsigned char>& to,
                std::size_t count)
{
    if (from.m_pixelSize == to.m_pixelSize)
        std::memcpy(to.m_bytes, from.m_bytes, count * static_cast<std::size_t>(to.m_pixelSize));
    else
        CopyEachBySize(from, to, count, [](std::size_t i) { return i; });
}

void GatherPixels(const PixelRow<const unsigned char>& from,
                  const PixelRow<unsigned char>& to,
                  const std::vector<int>& columns)
{
    const int* const of = columns.data();
    CopyEachBySize(
        from, to, columns.size(), [of](std::size_t i) { return static_cast<std::size_t>(of[i]); });
}

} // namespace KxC
