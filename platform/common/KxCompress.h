// SPDX-License-Identifier: MIT
#pragma once

#include "KxCommonExport.h"

#include <vector>

namespace KxC {

class KXCOMMON_API KxCompress
{
public:
    /// Inflates a gzip stream into a buffer of the caller's. Never writes past `outputSize`.
    /// Members that follow each other are joined, as gzip(1) does; bytes behind the last member
    /// that do not begin another are padding and ignored. Any thread; never throws.
    /// @param outputSize  in: bytes of room in `output`; out: bytes written, 0 on failure
    /// @return 0 on success, else the stream is damaged, cut off, or larger than the room
    static int GZipDecompress(const unsigned char* input,
                              unsigned int inputSize,
                              unsigned char* output,
                              unsigned int& outputSize);

    /// Deflates bytes into one gzip member, without a time stamp, so that equal input gives equal
    /// output. Any thread; never throws.
    /// @param output  receives the member in place of what it held; empty on failure
    /// @return false for want of memory
    static bool GZipCompress(const std::vector<unsigned char>& input,
                             std::vector<unsigned char>& output);
};

} // namespace KxC
