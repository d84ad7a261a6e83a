// SPDX-License-Identifier: MIT
#include "StopSignals.h"

#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <system_error>

namespace KxTileHost {

namespace {

int CheckedDescriptor(int descriptor)
{
    if (descriptor < 0)
        throw std::system_error(errno, std::generic_category(), "cannot wait for signals");
    return descriptor;
}

sigset_t StoppingSignals()
{
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGINT);
    sigaddset(&set, SIGTERM);
    return set;
}

bool IsReadable(const pollfd& polled)
{
    return (polled.revents & POLLIN) != 0;
}

} // namespace

WakeUp::WakeUp() : m_descriptor(CheckedDescriptor(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))) {}

WakeUp::~WakeUp()
{
    ::close(m_descriptor);
}

void WakeUp::Ring() const
{
    const std::uint64_t one = 1;
    // It fails only where the bell has rung 2^64 times already.
    [[maybe_unused]] const ssize_t count = ::write(m_descriptor, &one, sizeof one);
}

StopSignals::StopSignals()
{
    const sigset_t set = StoppingSignals();
    m_descriptor = CheckedDescriptor(::signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK));
    ::pthread_sigmask(SIG_BLOCK, &set, &m_before);
}

StopSignals::~StopSignals()
{
    ::pthread_sigmask(SIG_SETMASK, &m_before, nullptr);
    ::close(m_descriptor);
}

StopSignals::Event StopSignals::Wait(const WakeUp& bell, std::chrono::milliseconds longest) const
{
    std::array<pollfd, 2> polled{{{m_descriptor, POLLIN, 0}, {bell.GetDescriptor(), POLLIN, 0}}};
    if (::poll(polled.data(), polled.size(), static_cast<int>(longest.count())) <= 0)
        return Event::TimeOut;
    signalfd_siginfo info{};
    if (IsReadable(polled[0]) && ::read(m_descriptor, &info, sizeof info) == sizeof info)
        return Event::Stop;
    std::uint64_t rings = 0;
    if (IsReadable(polled[1]) && ::read(bell.GetDescriptor(), &rings, sizeof rings) > 0)
        return Event::Rung;
    return Event::TimeOut;
}

} // namespace KxTileHost
