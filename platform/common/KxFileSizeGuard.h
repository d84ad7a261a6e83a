// SPDX-License-Identifier: MIT
#pragma once

#include "KxCommonExport.h"

namespace KxC {

/// While one lives, a write of this thread beyond the limit of a file's size (RLIMIT_FSIZE) fails
/// with EFBIG instead of ending the process by SIGXFSZ: the library shall not cost a host its life
/// for a file of its own. The host's handler never sees such a write, one that waited before goes
/// on waiting, and errno is left alone. Guards may be nested. Made and destroyed by the same
/// thread.
class KXCOMMON_API KxFileSizeGuard
{
public:
    KxFileSizeGuard() noexcept;
    ~KxFileSizeGuard();
    KxFileSizeGuard(const KxFileSizeGuard&) = delete;
    KxFileSizeGuard& operator=(const KxFileSizeGuard&) = delete;

private:
    bool m_wasBlocked = false;
    bool m_wasPending = false;
};

} // namespace KxC
