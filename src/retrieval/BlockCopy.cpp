// SPDX-License-Identifier: MIT
#include "BlockCopy.h"

#include "PixelCopy.h"

#include <algorithm>

namespace KxC {

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
        CopyPixels({PixelOf(source, rows.m_from + i, columns.m_from), source.GetPixelSize()},
                   {PixelOf(destination, rows.m_to + i, columns.m_to), destination.GetPixelSize()},
                   static_cast<std::size_t>(columns.m_count));
}

} // namespace KxC
