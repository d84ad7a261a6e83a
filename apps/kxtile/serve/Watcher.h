// SPDX-License-Identifier: MIT
#pragma once

#include "serve/SourceFinder.h"
#include "serve/SourceTable.h"

#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

namespace KxTileHost::Serve {

/// Looks at the definitions again and again on a thread of its own, and serves what they became.
/// Files are asked for their times, since notices of changes do not come from all file systems.
class Watcher
{
public:
    /// @param finder, table  must outlive the watcher; nobody else may use the finder meanwhile
    Watcher(SourceFinder& finder, SourceTable& table);
    ~Watcher();
    Watcher(const Watcher&) = delete;
    Watcher& operator=(const Watcher&) = delete;

private:
    void Run();
    bool IsEnded();
    void LoadAgain();
    void Tell(const std::string& fault) noexcept;

    SourceFinder& m_finder;
    SourceTable& m_table;
    std::mutex m_lock;
    std::condition_variable m_changed;
    bool m_ends = false;
    bool m_isUnfinished = false; ///< a load began, and what it found is not served yet
    LoadReport m_report;         ///< what is not told yet
    std::string m_lastFault;
    std::thread m_thread;
};

} // namespace KxTileHost::Serve
