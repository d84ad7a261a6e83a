// SPDX-License-Identifier: MIT
#include "LuaBudget.h"

#include <cstdlib>
#include <new>

namespace KxC {

namespace {

constexpr int kStepsBetweenChecks = 100;

constexpr const char* kTooManySteps = "the script ran too many steps";
constexpr const char* kTooLong = "the script took too long";
constexpr const char* kTooMuchMemory = "the script used too much memory";

} // namespace

void LuaBudget::Attach(lua_State* state)
{
    ::new (lua_getextraspace(state)) LuaBudget*(this);
}

LuaBudget& LuaBudget::Of(lua_State* state)
{
    return **static_cast<LuaBudget**>(lua_getextraspace(state));
}

void LuaBudget::Begin(lua_State* state)
{
    m_reason = nullptr;
    m_steps = kSteps;
    m_patternWork = kPatternWork;
    m_allocatedBytes = 0;
    m_refusals = 0;
    m_deadline = std::chrono::steady_clock::now() + kTime;
    lua_sethook(state, &OnCount, LUA_MASKCOUNT, kStepsBetweenChecks);
}

void LuaBudget::Break(lua_State* state, const char* reason)
{
    m_reason = m_reason == nullptr ? reason : m_reason;
    // From here on nothing may run but the way out.
    lua_sethook(state, &OnCount, LUA_MASKCOUNT, 1);
    luaL_error(state, "%s", m_reason);
    std::abort(); // not reached: luaL_error does not return
}

void LuaBudget::RaiseIfBroken(lua_State* state)
{
    if (IsBroken())
        Break(state, m_reason);
}

void LuaBudget::Charge(lua_State* state, std::int64_t steps)
{
    RaiseIfBroken(state);
    if (steps > m_steps)
        Break(state, kTooManySteps);
    m_steps -= steps;
}

void LuaBudget::ChargePattern(lua_State* state, double work)
{
    RaiseIfBroken(state);
    if (!(work <= m_patternWork))
        luaL_error(state, "the pattern may take too long on a text of this length");
    m_patternWork -= work;
}

void LuaBudget::CheckTime(lua_State* state)
{
    RaiseIfBroken(state);
    if (std::chrono::steady_clock::now() > m_deadline)
        Break(state, kTooLong);
}

void LuaBudget::OnCount(lua_State* state, lua_Debug* /*activation*/)
{
    LuaBudget& budget = Of(state);
    budget.Charge(state, kStepsBetweenChecks);
    budget.CheckTime(state);
}

bool LuaBudget::MayGrow(std::size_t oldSize, std::size_t newSize)
{
    const bool spent = newSize > kAllocatedBytes - m_allocatedBytes;
    const bool fits =
        newSize <= kBlockBytes && m_liveBytes - oldSize <= kLiveBytes - newSize && !spent;
    if (spent || (!fits && ++m_refusals >= kRefusals))
        m_reason = kTooMuchMemory;
    return fits && !IsBroken();
}

void* LuaBudget::Allocate(void* self, void* block, std::size_t oldSize, std::size_t newSize)
{
    LuaBudget& budget = *static_cast<LuaBudget*>(self);
    // For a new block Lua passes its kind in place of an old size.
    const std::size_t held = block == nullptr ? 0 : oldSize;
    if (newSize == 0) {
        std::free(block);
        budget.m_liveBytes -= held;
        return nullptr;
    }
    // Lua counts on blocks shrinking without fail.
    if (newSize > held && !budget.MayGrow(held, newSize))
        return nullptr;
    void* result = std::realloc(block, newSize);
    if (result == nullptr && newSize > held)
        return nullptr;
    budget.m_liveBytes += newSize - held;
    budget.m_allocatedBytes += newSize > held ? newSize : 0;
    return result == nullptr ? block : result;
}

} // namespace KxC
