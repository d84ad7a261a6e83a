// SPDX-License-Identifier: MIT
#include "CacheCommand.h"

#include <fmt/format.h>
#include <unistd.h>

#include <cstdio>
#include <utility>

namespace KxTileHost {

namespace {

/// What is over sooner shows nothing.
constexpr std::chrono::milliseconds kPause(500);

} // namespace

Progress::Progress(std::string what, unsigned long long total)
    : m_what(std::move(what)), m_nTotal(total), m_isTerminal(::isatty(STDERR_FILENO) == 1),
      m_shownAt(std::chrono::steady_clock::now())
{
}

Progress::~Progress()
{
    if (m_isShown)
        std::fputs("\r\x1b[K", stderr);
}

void Progress::Next()
{
    ++m_nDone;
    if (!m_isTerminal || std::chrono::steady_clock::now() - m_shownAt < kPause)
        return;
    m_shownAt = std::chrono::steady_clock::now();
    m_isShown = true;
    fmt::print(stderr, "\r{}: {} of {} tiles\x1b[K", m_what, m_nDone, m_nTotal);
    std::fflush(stderr);
}

} // namespace KxTileHost
