// SPDX-License-Identifier: MIT
#include "Projection.h"

#include "LiveHolders.h"

#include <utility>

namespace KxC {

namespace {

/// Engines kept for the next call, at some hundred kilobytes each. Where more threads than this
/// convert at once, the others make theirs anew.
constexpr std::size_t kMaxIdle = 64;

} // namespace

Projection::Projection(CrsText crs) : m_crs(std::move(crs))
{
    m_idle.reserve(kMaxIdle); // giving back must not fail
    LiveHolders::Instance().Add(*this);
}

Projection::~Projection()
{
    LiveHolders::Instance().Remove(*this);
}

std::unique_ptr<Projection> Projection::Make(CrsText crs, std::string& error)
{
    std::unique_ptr<Engine> engine = Engine::Make(crs, error);
    if (engine == nullptr)
        return nullptr;
    std::unique_ptr<Projection> projection(new Projection(std::move(crs)));
    projection->GiveBack(std::move(engine));
    return projection;
}

void Projection::Convert(PJ_DIRECTION direction, const KxPoint3d* in, KxPoint3d* out, int count)
{
    if (count < 1)
        return;
    std::unique_ptr<Engine> engine = Borrow();
    if (engine == nullptr)
        return;
    engine->Convert(direction, in, out, count);
    GiveBack(std::move(engine));
}

std::unique_ptr<Engine> Projection::Borrow()
{
    if (LiveHolders::Instance().IsClosed())
        return nullptr;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (!m_idle.empty()) {
            std::unique_ptr<Engine> engine = std::move(m_idle.back());
            m_idle.pop_back();
            return engine;
        }
    }
    // Outside the lock: it takes milliseconds.
    std::string error;
    return Engine::Make(m_crs, error);
}

void Projection::GiveBack(std::unique_ptr<Engine> engine)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_idle.size() < kMaxIdle)
        m_idle.push_back(std::move(engine));
}

void Projection::DropIdle()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_idle.clear();
}

} // namespace KxC
