// SPDX-License-Identifier: MIT
#pragma once

#include <lua.hpp>

#include <chrono>
#include <cstddef>
#include <cstdint>

namespace KxC {

/// What one call of a script may use up. Lua's own hook sees only the instructions of scripts, so
/// memory is bounded in the allocator and functions written in C are charged before they run.
/// Once a bound is broken the call is over: every further instruction and every pcall raises again.
class LuaBudget
{
public:
    /// Charges more than any honest URL script comes near to.
    static constexpr std::int64_t kSteps = 10'000'000;
    static constexpr std::int64_t kPatternWork = 50'000'000;
    static constexpr std::size_t kLiveBytes = std::size_t{16} << 20;
    static constexpr std::size_t kBlockBytes = std::size_t{2} << 20;
    static constexpr std::size_t kAllocatedBytes = std::size_t{256} << 20;
    /// Refusals make Lua collect its garbage first; a script that lives on such collections is at
    /// its end.
    static constexpr int kRefusals = 16;
    static constexpr std::chrono::milliseconds kTime{1000};

    /// Makes this the budget of a fresh state; it must stay at its place as long as the state.
    void Attach(lua_State* state);
    static LuaBudget& Of(lua_State* state);

    /// Gives the next call its full budget.
    void Begin(lua_State* state);
    bool IsBroken() const { return m_reason != nullptr; }
    /// Which bound was broken, null when none was.
    const char* Reason() const { return m_reason; }

    /// Takes `steps` off; raises a Lua error when there are not as many left.
    void Charge(lua_State* state, std::int64_t steps);
    /// Takes `work` off the budget of pattern matching; raises a Lua error instead when there is
    /// not as much left.
    void ChargePattern(lua_State* state, double work);
    /// Raises a Lua error when the time is over.
    void CheckTime(lua_State* state);
    /// Raises a Lua error when a bound was broken before.
    void RaiseIfBroken(lua_State* state);

    /// The lua_Alloc of states with a budget, which is its `self`.
    static void* Allocate(void* self, void* block, std::size_t oldSize, std::size_t newSize);

private:
    static void OnCount(lua_State* state, lua_Debug* activation);
    [[noreturn]] void Break(lua_State* state, const char* reason);
    bool MayGrow(std::size_t oldSize, std::size_t newSize);

    const char* m_reason = nullptr;
    std::int64_t m_steps = kSteps;
    double m_patternWork = kPatternWork;
    std::size_t m_liveBytes = 0;
    std::size_t m_allocatedBytes = 0;
    int m_refusals = 0;
    std::chrono::steady_clock::time_point m_deadline;
};

} // namespace KxC
