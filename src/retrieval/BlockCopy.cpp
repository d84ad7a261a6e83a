// SPDX-License-Identifier: MIT
#include "BlockCopy.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace KxC {

namespace {

constexpr int kOpaque = 255;

std::size_t PixelOffset(const KxImageData& image, int row, int column)
{
    return static_cast<std::size_t>(row) * static_cast<std::size_t>(image.GetRowBytes()) +
           static_cast<std::size_t>(column) * static_cast<std::size_t>(image.GetPixelSize());
}

void CopyRow(const unsigned char* from, int fromSize, unsigned char* to, int toSize, int count)
{
    if (fromSize == toSize) {
        std::memcpy(to, from, static_cast<std::size_t>(count) * static_cast<std::size_t>(toSize));
        return;
    }
    for (int i = 0; i < count; ++i, from += fromSize, to += toSize) {
        std::memcpy(to, from, 3);
        if (toSize > fromSize)
            to[3] = kOpaque;
    }
}

} // namespace

void BlockAxis::ClipTo(int sourceLength, int destinationLength)
{
    const int before = std::max({0, -m_from, -m_to});
    m_from += before;
    m_to += before;
    m_count = std::min({m_count - before, sourceLength - m_from, destinationLength - m_to});
}

void CopyBlock(const KxImageData& source,
               KxImageData& destination,
               BlockAxis columns,
               BlockAxis rows)
{
    columns.ClipTo(source.GetWidth(), destination.GetWidth());
    rows.ClipTo(source.GetHeight(), destination.GetHeight());
    if (columns.m_count < 1)
        return;
    for (int i = 0; i < rows.m_count; ++i)
        CopyRow(source.GetData() + PixelOffset(source, rows.m_from + i, columns.m_from),
                source.GetPixelSize(),
                destination.GetData() + PixelOffset(destination, rows.m_to + i, columns.m_to),
                destination.GetPixelSize(),
                columns.m_count);
}

} // namespace KxC
