// SPDX-License-Identifier: MIT
#include "serve/Watcher.h"

#include "Command.h"

#include <fmt/format.h>

#include <chrono>
#include <cstdio>
#include <exception>
#include <string>

namespace KxTileHost::Serve {

namespace {

constexpr std::chrono::milliseconds kStep{300};

} // namespace

Watcher::Watcher(SourceFinder& finder, SourceTable& table)
    : m_finder(finder), m_table(table), m_thread([this] { Run(); })
{
}

Watcher::~Watcher()
{
    {
        const std::lock_guard guard(m_lock);
        m_ends = true;
        m_changed.notify_all();
    }
    m_thread.join();
}

/// After a while, unless it ends.
bool Watcher::IsEnded()
{
    std::unique_lock guard(m_lock);
    return m_changed.wait_for(guard, kStep, [this] { return m_ends; });
}

void Watcher::Run()
{
    while (!IsEnded()) {
        try {
            if (!m_isUnfinished && !m_finder.HasChanged())
                continue;
            // Whoever writes a file in pieces is given a moment to end.
            if (IsEnded())
                return;
            LoadAgain();
        } catch (const std::exception& error) { // no memory: what is served stays
            Tell(error.what());
        }
    }
}

void Watcher::LoadAgain()
{
    m_isUnfinished = true; // what was loaded before something is thrown counts as no change later
    m_table.Set(m_finder.Load(m_report));
    m_isUnfinished = false;
    m_lastFault.clear();
    for (const std::string& line : m_report.m_faults)
        fmt::print(stderr, "kxtile: {}\n", Printable(line));
    for (const std::string& line : m_report.m_changes)
        fmt::print(stderr, "kxtile: {}\n", Printable(line));
    m_report = {};
}

/// Once for each fault, not in each round.
void Watcher::Tell(const std::string& fault) noexcept
try {
    if (fault == m_lastFault)
        return;
    fmt::print(stderr, "kxtile: {}\n", Printable(fault));
    m_lastFault = fault;
} catch (const std::exception&) {
    return; // the next round may have memory again
}

} // namespace KxTileHost::Serve
