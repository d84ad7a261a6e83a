// SPDX-License-Identifier: MIT
#include "LiveProjections.h"

#include "Projection.h"

namespace KxC {

namespace {

/// Built when the plug-in is loaded, after PROJ, and therefore destroyed before it.
struct ClosesAtTeardown
{
    ~ClosesAtTeardown() { LiveProjections::Instance().Close(); }
};

const ClosesAtTeardown g_closesAtTeardown;

} // namespace

LiveProjections& LiveProjections::Instance()
{
    static auto* instance = new LiveProjections;
    return *instance;
}

void LiveProjections::Add(Projection& projection)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_projections.insert(&projection);
}

void LiveProjections::Remove(Projection& projection)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_projections.erase(&projection);
}

void LiveProjections::Release()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (Projection* projection : m_projections)
        projection->DropIdle();
}

void LiveProjections::Close()
{
    m_closed.store(true, std::memory_order_release);
    Release();
}

} // namespace KxC
