// SPDX-License-Identifier: MIT
#pragma once

#include "KxCommonExport.h"

#include <memory>

namespace KxC {

/// A lock that its holder may take again; works with std::lock_guard.
/// Any thread may call any operation; unlock belongs to the thread that locked.
class KXCOMMON_API KxMutex
{
public:
    /// @param initiallyOwned  true when the constructing thread shall hold the lock at once
    explicit KxMutex(bool initiallyOwned);
    ~KxMutex();
    KxMutex(const KxMutex&) = delete;
    KxMutex& operator=(const KxMutex&) = delete;

    void lock();   // NOLINT(readability-identifier-naming): the standard's lockable names
    void unlock(); // NOLINT(readability-identifier-naming): the standard's lockable names

private:
    struct Native;
    std::unique_ptr<Native> m_native;
};

} // namespace KxC
