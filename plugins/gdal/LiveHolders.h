// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <mutex>
#include <unordered_set>

namespace KxC {

/// Holds objects of PROJ or GDAL between its uses of them.
class IdleHolder
{
public:
    /// Lets go of what nobody is using; it is made again on demand. Any thread.
    virtual void DropIdle() = 0;

protected:
    ~IdleHolder() = default;
};

/// Every holder of the process, so that what PROJ and GDAL hold for them can be given back while
/// these are still there. Hosts and the tile library hold accessors beyond that: at exit, plug-ins
/// and their libraries are torn down before the libraries that were loaded before them. Any thread.
class LiveHolders
{
public:
    /// Never destroyed: accessors may be among the last objects of the process.
    static LiveHolders& Instance();

    void Add(IdleHolder& holder);
    void Remove(IdleHolder& holder);

    /// Releases what is idle; the holders go on working.
    void Release();
    /// Releases what is idle, for good: from now on nothing converts and nothing reads.
    void Close();
    bool IsClosed() const { return m_closed.load(std::memory_order_acquire); }

private:
    LiveHolders() = default;

    std::mutex m_mutex;
    std::unordered_set<IdleHolder*> m_holders;
    std::atomic<bool> m_closed = false;
};

} // namespace KxC
