// SPDX-License-Identifier: MIT
#pragma once

#include "Bytes.h"

namespace KxC::Earth {

/// Whether a key can be used: whole words of 8 bytes, at least three, at most 64 KiB.
bool IsUsableKey(ByteView key);

/// Encrypts or decrypts in place; both are the same.
/// @param key  one that IsUsableKey
void ApplyKey(std::span<unsigned char> data, ByteView key);

} // namespace KxC::Earth
