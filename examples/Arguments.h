// SPDX-License-Identifier: MIT
#pragma once

#include <cstdlib>

/// A whole number of the command line from 0 to `last`; -1 for anything else.
inline int NumberUpTo(int last, const char* text)
{
    char* end = nullptr;
    const long number = std::strtol(text, &end, 10);
    const bool whole = end != text && *end == '\0';
    return whole && number >= 0 && number <= last ? static_cast<int>(number) : -1;
}
