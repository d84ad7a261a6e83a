// SPDX-License-Identifier: MIT
/// From pixels to the bytes that hosts get.
#pragma once

#include "KxImageData.h"
#include "KxRawData.h"
#include "KxString.h"

#include <memory>

namespace KxC {

/// Whether an output tile can have that edge: a tile size, and no more pixels than a picture has.
bool IsOutputSize(int tileSize);

/// Whether an output made from tiles with an alpha channel keeps it: where the source's format
/// text is empty or ends in "png".
bool KeepsAlpha(const KxString& imageFormat);

/// A zero-filled square picture: black, or transparent with alpha.
/// @return null when there is no memory for it, or it exceeds a picture's limits
std::unique_ptr<KxImageData> NewOutputImage(int tileSize, bool withAlpha);

/// Encodes a picture without padded rows: PNG with alpha, else JPEG.
/// @return null when there is no memory; without bytes where the encoder failed
std::unique_ptr<KxRawData> EncodeOutput(const KxImageData& image);

} // namespace KxC
