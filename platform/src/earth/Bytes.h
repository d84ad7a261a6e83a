// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace KxC::Earth {

/// Bytes that somebody else owns.
using ByteView = std::span<const unsigned char>;

/// The little-endian number at `offset`; the caller has checked that it lies inside.
inline std::uint16_t ReadU16(ByteView bytes, std::size_t offset)
{
    return static_cast<std::uint16_t>(bytes[offset] | bytes[offset + 1] << 8);
}

inline std::uint32_t ReadU32(ByteView bytes, std::size_t offset)
{
    return ReadU16(bytes, offset) | static_cast<std::uint32_t>(ReadU16(bytes, offset + 2)) << 16;
}

} // namespace KxC::Earth
