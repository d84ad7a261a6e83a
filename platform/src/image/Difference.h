// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

namespace KxC::Imaging {

/// Bytes as their differences from others, wrapping around: what the filters of PNG and TIFF make.
/// In steps of a fixed length, which compilers turn into vector instructions without being asked
/// to optimise more than elsewhere.
/// @param out  overlaps neither of the others
inline void Subtract(const unsigned char* from,
                     const unsigned char* what,
                     std::size_t count,
                     unsigned char* __restrict out)
{
    constexpr std::size_t kStep = 64;
    std::size_t i = 0;
    for (; i + kStep <= count; i += kStep)
        for (std::size_t j = 0; j < kStep; ++j)
            out[i + j] = static_cast<unsigned char>(from[i + j] - what[i + j]);
    for (; i < count; ++i)
        out[i] = static_cast<unsigned char>(from[i] - what[i]);
}

} // namespace KxC::Imaging
