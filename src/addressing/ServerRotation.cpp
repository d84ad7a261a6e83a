// SPDX-License-Identifier: MIT
#include "ServerRotation.h"

namespace KxC {

namespace {

constexpr int kLastBeforeWrap = 100000;

int Next(int value)
{
    return (value > kLastBeforeWrap ? 0 : value) + 1;
}

} // namespace

int ServerRotation::Take()
{
    int value = m_counter.load(std::memory_order_relaxed);
    while (!m_counter.compare_exchange_weak(value, Next(value), std::memory_order_relaxed)) {
    }
    return value;
}

} // namespace KxC
