// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace KxC {

std::string Lower(std::string_view text);

/// Whether `text` is one of `words`, which are in lower case and stand between blanks.
bool IsOneOf(std::string_view text, std::string_view words);

/// An optional sign and at most ten digits.
bool IsInteger(std::string_view text);

/// Whether the text names a Lua file by its ending, as records understand it.
bool EndsInLua(std::string_view text);

/// Whether an address asks for drawings (vector tiles) rather than pictures, by its path's end.
bool NamesVectorTiles(std::string_view url);

bool HasControl(std::string_view text);

bool IsUtf8(std::string_view text);

/// RFC 9110: a token.
bool IsHeaderName(std::string_view name);
/// "Name: value" without control characters.
bool IsHeaderLine(std::string_view line);

/// The line, counted from 1, of a byte of a text.
int LineAt(std::string_view text, std::size_t offset);

std::string_view WithoutByteOrderMark(std::string_view text);

} // namespace KxC
