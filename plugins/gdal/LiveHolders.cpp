// SPDX-License-Identifier: MIT
#include "LiveHolders.h"

namespace KxC {

namespace {

/// Built when the plug-in is loaded, after PROJ and GDAL, and therefore destroyed before them.
struct ClosesAtTeardown
{
    ~ClosesAtTeardown() { LiveHolders::Instance().Close(); }
};

const ClosesAtTeardown g_closesAtTeardown;

} // namespace

LiveHolders& LiveHolders::Instance()
{
    static auto* instance = new LiveHolders;
    return *instance;
}

void LiveHolders::Add(IdleHolder& holder)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_holders.insert(&holder);
}

void LiveHolders::Remove(IdleHolder& holder)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_holders.erase(&holder);
}

void LiveHolders::Release()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (IdleHolder* holder : m_holders)
        holder->DropIdle();
}

void LiveHolders::Close()
{
    m_closed.store(true, std::memory_order_release);
    Release();
}

} // namespace KxC
