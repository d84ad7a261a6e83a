// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

namespace KxC {

/// 32 hexadecimal digits of the text's 128-bit hash, most significant first: the same on every
/// machine.
std::string HashDigits(std::string_view text);

/// The host of a URL as far as it can stand in a folder name: lower case [a-z0-9.-], at most 48
/// bytes, placeholders, user, password and port left out. Empty when there is none.
std::string ReadableHost(std::string_view url);

} // namespace KxC
