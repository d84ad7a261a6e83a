// SPDX-License-Identifier: MIT
#pragma once

#include "Bytes.h"
#include "KxRawData.h"

namespace KxC::Earth {

/// Whether bytes begin as a JPEG or a PNG does.
bool IsPicture(ByteView bytes);

/// Whether they are one to its end.
bool IsWholePicture(ByteView bytes);

/// Puts a picture with the alpha of another one, of the same size, into `out`, as PNG.
/// @param alpha  its alpha channel counts; the first of its colours where it has none
/// @throws DamagedAnswer when either does not decode or the sizes differ, std::bad_alloc
void JoinAlpha(KxRawData& out, ByteView picture, ByteView alpha);

/// Replaces a picture by a part of it, enlarged to the whole's size (nearest pixel), as PNG, so
/// that nothing is lost once more.
/// @param levels    how often the picture is halved, [0, 30]
/// @param row, col  of the part among the 2^levels x 2^levels ones, row 0 in the south
/// @throws DamagedAnswer when it does not decode, std::bad_alloc
void CutPart(KxRawData& picture, int levels, int row, int col);

} // namespace KxC::Earth
