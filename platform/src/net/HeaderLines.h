// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

namespace KxC::Http {

/// Whether a text can stand in a header without ending its line: no CR, LF or NUL.
bool IsOneLine(std::string_view text);

/// What is wrong with a header line from a definition, in words; empty when it may be sent. A
/// line may not smuggle in further lines nor change where the request ends.
std::string HeaderLineFault(std::string_view line);

/// Whether the line carries the header `name`, without regard to case.
bool IsHeader(std::string_view line, std::string_view name);

} // namespace KxC::Http
