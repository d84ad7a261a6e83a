// SPDX-License-Identifier: MIT
#pragma once

#include "KxImageData.h"

namespace KxC {

/// One axis of a block that is copied from a picture into another.
struct BlockAxis
{
    int m_from;  ///< first pixel of the source
    int m_to;    ///< first pixel of the destination
    int m_count; ///< pixels

    /// Cuts off what lies outside either picture.
    void ClipTo(int sourceLength, int destinationLength);
};

/// Copies a block, cut off at the edges of both pictures. Pixels without alpha become opaque where
/// the destination has alpha; surplus alpha is dropped.
void CopyBlock(const KxImageData& source,
               KxImageData& destination,
               BlockAxis columns,
               BlockAxis rows);

} // namespace KxC
