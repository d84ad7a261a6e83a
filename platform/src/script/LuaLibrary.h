// SPDX-License-Identifier: MIT
#pragma once

#include <lua.hpp>

namespace KxC {

/// Opens what URL scripts may use: the harmless part of Lua's own library, with bounded forms of
/// what could run long in C, and utc_date. There are no metatables to set and no coroutines, so
/// no code of a script runs where the budget does not see it. Call it protected.
void OpenScriptLibrary(lua_State* state);

/// Puts bounded forms in place of the string functions whose cost their arguments decide, for the
/// table of string functions on top of the stack.
void BoundTextFunctions(lua_State* state);

} // namespace KxC
