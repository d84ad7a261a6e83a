// SPDX-License-Identifier: MIT
#pragma once

#include "LuaBudget.h"

#include <string>
#include <string_view>

namespace KxC {

/// A Lua state with one script loaded into it. Every entry into Lua is a protected call, and every
/// operation leaves the stack as it found it. One thread at a time.
class LuaState
{
public:
    LuaState();
    ~LuaState();
    LuaState(const LuaState&) = delete;
    LuaState& operator=(const LuaState&) = delete;

    /// Loads and runs a script; for a state that has none yet.
    /// @param name  stands before the line number in messages
    /// @return what went wrong, empty when nothing did
    std::string Load(std::string_view script, const std::string& name);

    /// Calls the script's GetTileURL.
    /// @return what went wrong, empty when nothing did; then `url` is set
    std::string GetTileURL(int level, int row, int col, std::string& url);

    /// Values on the Lua stack: none between operations.
    int StackHeight() const { return m_state == nullptr ? 0 : lua_gettop(m_state); }

private:
    std::string Run(lua_CFunction function, void* data);
    std::string TakeError(int status);

    LuaBudget m_budget;
    lua_State* m_state;
};

} // namespace KxC
