// SPDX-License-Identifier: MIT
#pragma once

#include "Bytes.h"

#include <memory>

namespace KxC::Earth {

/// Bytes that it owns.
struct OwnedBytes
{
    std::unique_ptr<unsigned char[]> m_bytes;
    std::size_t m_size = 0;

    ByteView View() const { return {m_bytes.get(), m_size}; }
};

constexpr std::size_t kMaxInflatedBytes = 16U << 20;

/// Whether bytes begin as a compressed packet does, in either byte order.
bool IsCompressedPacket(ByteView packet);

/// Inflates a compressed packet, at most kMaxInflatedBytes; the size that it states must be true.
/// @throws DamagedAnswer, std::bad_alloc
OwnedBytes InflatePacket(ByteView packet);

/// Decrypts a packet in place, unless it came unencrypted, and inflates it.
/// @throws DamagedAnswer, std::bad_alloc
OwnedBytes OpenPacket(std::span<unsigned char> packet, ByteView key);

} // namespace KxC::Earth
