// SPDX-License-Identifier: MIT
#pragma once

#include "KxCommonExport.h"
#include "KxString.h"

#include <cstdio>
#include <memory>

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
    /// @param bufferSize  bytes, at most 1 MiB is used; 0 or less leaves it to the system
    /// @return 1 on success. What was open before is closed either way.
    unsigned char Open(const KxString& path, int direction, int bufferSize);
    unsigned char Save(const unsigned char* bytes, unsigned int count) override;
    /// Flushes and closes.
    /// @return 1 when everything written is with the operating system
    unsigned char Close();

private:
    std::FILE* m_pFile;
    std::unique_ptr<char[]> m_buffer; ///< what m_pFile gathers bytes in; null for the system's
};

} // namespace KxC
