// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>

namespace KxC {

/// Walks server lists in turn: 0 at first, then 1 to 100001 and again from 1. Any thread.
class ServerRotation
{
public:
    /// The current value; moves on to the next.
    int Take();

private:
    std::atomic<int> m_counter{0};
};

} // namespace KxC
