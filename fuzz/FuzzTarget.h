// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

/// What every target defines: hands the bytes to the library. They may be anything.
/// @return 0
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size);

namespace KxC::Fuzz {

/// Ends the program when the library broke a promise of its headers: a find, as a crash is.
inline void Require(bool holds, const char* promise)
{
    if (holds)
        return;
    std::fprintf(stderr, "broken promise: %s\n", promise);
    std::abort();
}

} // namespace KxC::Fuzz
