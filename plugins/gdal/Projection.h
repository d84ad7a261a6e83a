// SPDX-License-Identifier: MIT
#pragma once

#include "Engine.h"
#include "LiveHolders.h"

#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace KxC {

/// A coordinate system that any number of threads convert with. An engine serves one thread at a
/// time, so each call borrows one: there come to be as many as threads convert at once, and none
/// outlives this object.
class Projection final : private IdleHolder
{
public:
    /// @param error  on failure, what is wrong with the text
    /// @return null on failure
    static std::unique_ptr<Projection> Make(CrsText crs, std::string& error);

    ~Projection();
    Projection(const Projection&) = delete;
    Projection& operator=(const Projection&) = delete;

    /// As Engine::Convert; any thread. Converts nothing when no engine can be had.
    void Convert(PJ_DIRECTION direction, const KxPoint3d* in, KxPoint3d* out, int count);

private:
    explicit Projection(CrsText crs);

    /// Lets go of the engines that nobody is using.
    void DropIdle() override;

    std::unique_ptr<Engine> Borrow();
    void GiveBack(std::unique_ptr<Engine> engine);

    const CrsText m_crs;
    std::mutex m_mutex;
    std::vector<std::unique_ptr<Engine>> m_idle;
};

} // namespace KxC
