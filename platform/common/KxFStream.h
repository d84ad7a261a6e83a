// SPDX-License-Identifier: MIT
#pragma once

#include "KxCommonExport.h"
#include "KxString.h"

#include <cstdio>

namespace KxC {

/// Something bytes can be written to.
class KXCOMMON_API KxStream
{
public:
    virtual ~KxStream();
    /// @return 1 when all `count` bytes were taken
    virtual unsigned char Save(const unsigned char* bytes, unsigned int count) = 0;
};

/// A file. Threads: separate objects are independent.
class KXCOMMON_API KxFStream : public KxStream
{
public:
    KxFStream();
    ~KxFStream() override;
    KxFStream(const KxFStream&) = delete;
    KxFStream& operator=(const KxFStream&) = delete;

    /// @param direction   1: write, creating or truncating
    /// @param bufferSize  bytes
    /// @return 1 on success; the stream then closes what it had open before
    unsigned char Open(const KxString& path, int direction, int bufferSize);
    unsigned char Save(const unsigned char* bytes, unsigned int count) override;
    /// Flushes and closes.
    /// @return 1 when everything written is with the operating system
    unsigned char Close();

private:
    std::FILE* m_pFile;
};

} // namespace KxC
