// SPDX-License-Identifier: MIT
#pragma once

#include "KxCommonExport.h"

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
};

} // namespace KxC
