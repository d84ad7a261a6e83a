// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>

namespace KxC {

/// What finding tiles may cost in one pack, over all of its reads, in thousands of steps of
/// SQLite's machine. A look through a table without an index grows with the file, which is fair;
/// the views that a file brings along can make any number of steps out of little. Any thread.
class StepBudget
{
public:
    /// Beyond what is fair; some seconds.
    static constexpr long long kSteps = 200000;

    /// @param fileBytes  of the pack
    /// @param steps      beyond what is fair; another number is for tests
    explicit StepBudget(unsigned long long fileBytes, long long steps = kSteps)
        : m_nFairSteps(kFairSteps + static_cast<long long>(fileBytes / kBytesPerThousandSteps)),
          m_nLeft(steps)
    {
    }

    bool IsSpent() const { return m_nLeft.load(std::memory_order_relaxed) <= 0; }
    /// Takes what one read cost beyond what is fair.
    void Charge(long long steps)
    {
        if (steps > m_nFairSteps)
            m_nLeft.fetch_sub(steps - m_nFairSteps, std::memory_order_relaxed);
    }

private:
    static constexpr long long kFairSteps = 1000;
    /// A row takes five steps to pass, and no picture is smaller than some fifty bytes.
    static constexpr unsigned long long kBytesPerThousandSteps = 8000;

    const long long m_nFairSteps;
    std::atomic<long long> m_nLeft;
};

} // namespace KxC
