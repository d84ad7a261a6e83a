// SPDX-License-Identifier: MIT
#pragma once

#include "Pixels.h"

#include <string>
#include <vector>

namespace KxOrigin {

using Bytes = std::vector<unsigned char>;

enum class Format { Png, Jpeg, WebP };

/// "image/png" and so on.
std::string ContentTypeOf(Format format);

/// Encodes with the product's own encoders.
/// @throws std::runtime_error when that fails
Bytes Encode(const Pixels& pixels, Format format);

/// A gzip stream of `content`.
/// @param level  0 stores, 12 packs best
/// @throws std::runtime_error when there is no memory for it
Bytes GZip(const Bytes& content, int level);

/// A gzip stream that is at least half as long as `content`, as the tile services' are that pack
/// pictures: readers reserve twice the length of the stream. Stores what would pack better.
Bytes GZipWithinHalf(const Bytes& content);

/// The same picture with an ancillary chunk of zeros, four times as long as the PNG itself, behind
/// the header: packed, it inflates to more than twice the stream's length.
/// @param png  a whole PNG
Bytes PadPng(const Bytes& png);

} // namespace KxOrigin
