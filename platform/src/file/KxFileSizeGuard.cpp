// SPDX-License-Identifier: MIT
#include "KxFileSizeGuard.h"

#include <signal.h> // NOLINT(modernize-deprecated-headers): <csignal> has not POSIX's operations

#include <cerrno>
#include <ctime>

namespace KxC {

namespace {

sigset_t JustTheSignal()
{
    sigset_t set;
    ::sigemptyset(&set);
    ::sigaddset(&set, SIGXFSZ);
    return set;
}

bool IsPending()
{
    sigset_t pending;
    ::sigemptyset(&pending);
    return ::sigpending(&pending) == 0 && ::sigismember(&pending, SIGXFSZ) == 1;
}

/// Takes the signal from this thread's waiting ones, if it is among them.
void Consume(const sigset_t& set)
{
    constexpr timespec kNow = {};
    while (::sigtimedwait(&set, nullptr, &kNow) < 0 && errno == EINTR) {
    }
}

} // namespace

KxFileSizeGuard::KxFileSizeGuard() noexcept
{
    const sigset_t set = JustTheSignal();
    sigset_t before;
    ::sigemptyset(&before);
    ::pthread_sigmask(SIG_BLOCK, &set, &before);
    m_wasBlocked = ::sigismember(&before, SIGXFSZ) == 1;
    // What is not blocked does not wait.
    m_wasPending = m_wasBlocked && IsPending();
}

KxFileSizeGuard::~KxFileSizeGuard()
{
    const int error = errno; // tells what became of the write
    const sigset_t set = JustTheSignal();
    if (!m_wasPending && IsPending())
        Consume(set);
    if (!m_wasBlocked)
        ::pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
    errno = error;
}

} // namespace KxC
