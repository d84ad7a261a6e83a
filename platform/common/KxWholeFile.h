// SPDX-License-Identifier: MIT
#pragma once

#include "KxCommonExport.h"
#include "KxString.h"

#include <cstddef>
#include <memory>

namespace KxC {

/// A file that is written piece by piece and appears under its name only when whole: until Finish
/// it has a temporary name in the same folder, and it is gone where Finish is never reached. Links
/// are followed, an existing file keeps its mode (until Finish only its owner may read the new
/// one), and what is no file (a pipe, a device) is written to as the pieces come. Threads: one at a
/// time.
class KXCOMMON_API KxWholeFile
{
public:
    /// Throws std::bad_alloc.
    explicit KxWholeFile(const KxString& path);
    ~KxWholeFile();
    KxWholeFile(const KxWholeFile&) = delete;
    KxWholeFile& operator=(const KxWholeFile&) = delete;

    /// Whether there is something to write to; else Write and Finish fail, and errno says why.
    unsigned char IsOpen() const;
    /// Whether pieces may be written in any order.
    unsigned char IsSeekable() const;

    /// Writes behind everything that was written before.
    /// @return 1 on success; else errno says why
    unsigned char Write(const unsigned char* bytes, std::size_t size);
    /// Writes at a place, counted in bytes from the beginning; of a seekable file.
    /// @return 1 on success; else errno says why
    unsigned char WriteAt(unsigned long long place, const unsigned char* bytes, std::size_t size);

    /// Gives the file its name, when all has been written; nothing can be written any more.
    /// @return 1 on success; else errno says why, and what was under the name is still there
    unsigned char Finish();

private:
    class Implementation;
    std::unique_ptr<Implementation> m_pImplementation;
};

} // namespace KxC
