// SPDX-License-Identifier: MIT
#include "KxMutex.h"

#include <mutex>

namespace KxC {

struct KxMutex::Native
{
    std::recursive_mutex m_mutex;
};

KxMutex::KxMutex(bool initiallyOwned) : m_native(std::make_unique<Native>())
{
    if (initiallyOwned)
        lock();
}

KxMutex::~KxMutex() = default;

void KxMutex::lock()
{
    m_native->m_mutex.lock();
}

void KxMutex::unlock()
{
    m_native->m_mutex.unlock();
}

} // namespace KxC
