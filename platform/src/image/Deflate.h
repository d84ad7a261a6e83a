// SPDX-License-Identifier: MIT
#pragma once

// The compressed streams of PNG and TIFF.

#include "ImageCodecs.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace KxC::Imaging {

/// Room that ZlibCompress needs for `count` bytes.
std::size_t ZlibBound(std::size_t count);
/// Writes a zlib stream of the bytes.
/// @return its length, 0 when it did not fit or memory ran out
std::size_t ZlibCompress(ByteSpan bytes, std::span<unsigned char> out, Purpose purpose);
std::uint32_t Crc32(ByteSpan bytes);

} // namespace KxC::Imaging
