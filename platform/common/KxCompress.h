// SPDX-License-Identifier: MIT
#pragma once

#include "KxCommonExport.h"

namespace KxC {

class KXCOMMON_API KxCompress
{
public:
    /// Inflates one gzip stream into a buffer of the caller's. Never writes past `outputSize`.
    /// @param outputSize  in: bytes of room in `output`; out: bytes written, 0 on failure
    /// @return 0 on success, else the stream is damaged, cut off, or larger than the room
    static int GZipDecompress(const unsigned char* input,
                              unsigned int inputSize,
                              unsigned char* output,
                              unsigned int& outputSize);
};

} // namespace KxC
