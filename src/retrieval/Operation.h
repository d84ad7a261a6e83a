// SPDX-License-Identifier: MIT
#pragma once

namespace KxC {

/// Stands for one exported operation on the calling thread. The outermost one, as it begins, ends
/// the thread's hold on the memory-cache tiles that its previous operation was given; so these
/// live through the operation, and for the host until its next one.
class Operation
{
public:
    Operation();
    ~Operation();
    Operation(const Operation&) = delete;
    Operation& operator=(const Operation&) = delete;
};

/// The host's two cache switches as they stood when the operation began. A host may write them at
/// any time; ownership of a tile must not change hands half-way.
struct CacheSwitches
{
    bool m_memory;
    bool m_disk;

    static CacheSwitches Read();
};

} // namespace KxC
