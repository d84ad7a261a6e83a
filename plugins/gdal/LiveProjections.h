// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <mutex>
#include <unordered_set>

namespace KxC {

class Projection;

/// Every projection of the process, so that what PROJ holds for them can be given back while PROJ
/// is still there. Hosts and the tile library hold accessors beyond that: at exit, plug-ins and
/// their libraries are torn down before the libraries that were loaded before them. Any thread.
class LiveProjections
{
public:
    /// Never destroyed: accessors may be among the last objects of the process.
    static LiveProjections& Instance();

    void Add(Projection& projection);
    void Remove(Projection& projection);

    /// Releases what is idle; projections go on converting.
    void Release();
    /// Releases what is idle, for good: from now on projections convert nothing.
    void Close();
    bool IsClosed() const { return m_closed.load(std::memory_order_acquire); }

private:
    LiveProjections() = default;

    std::mutex m_mutex;
    std::unordered_set<Projection*> m_projections;
    std::atomic<bool> m_closed = false;
};

} // namespace KxC
