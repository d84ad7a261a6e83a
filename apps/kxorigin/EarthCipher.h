// SPDX-License-Identifier: MIT
#pragma once

#include "Encoding.h"

#include <cstdint>
#include <span>

namespace KxOrigin {

constexpr std::size_t kEarthKeySize = 1016; ///< bytes, as in the old form of dbRoot

/// The flatfile protocol's cipher: the same operation encrypts and decrypts.
/// @param key   a multiple of 8 bytes, 24 at least
/// @param data  8 bytes at least; shorter ones are left as they are
void ApplyEarthKey(std::span<const unsigned char> key, std::span<unsigned char> data);

/// kEarthKeySize bytes without a pattern; the same seed gives the same key.
Bytes MakeEarthKey(std::uint64_t seed);

} // namespace KxOrigin
