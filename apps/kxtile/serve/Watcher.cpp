// SPDX-License-Identifier: MIT
#include "serve/Watcher.h"

#include "Command.h"

#include <fmt/format.h>

#include <chrono>
#include <cstdio>
#include <exception>
#include <string>
#include <vector>

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
            if (!m_finder.HasChanged())
                continue;
            // Whoever writes a file in pieces is given a moment to end.
            if (IsEnded())
                return;
            LoadAgain();
        } catch (const std::exception& error) { // no memory: what is served stays
            fmt::print(stderr, "kxtile: {}\n", Printable(error.what()));
        }
    }
}

void Watcher::LoadAgain()
{
    std::vector<std::string> changes;
    m_table.Set(m_finder.Load(&changes));
    for (const std::string& change : changes)
        fmt::print(stderr, "kxtile: {}\n", Printable(change));
}

} // namespace KxTileHost::Serve
