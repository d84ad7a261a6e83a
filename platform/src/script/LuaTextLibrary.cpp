// SPDX-License-Identifier: MIT
#include "LuaBudget.h"
#include "LuaLibrary.h"
#include "LuaPatternWork.h"

#include <string_view>

namespace KxC {

namespace {

constexpr lua_Integer kMaxRepeatedBytes = lua_Integer{1} << 20;
constexpr std::int64_t kBytesPerStep = 64;

int CallOriginal(lua_State* state)
{
    lua_pushvalue(state, lua_upvalueindex(1));
    lua_insert(state, 1);
    lua_call(state, lua_gettop(state) - 1, LUA_MULTRET);
    return lua_gettop(state);
}

std::string_view Text(lua_State* state, int argument)
{
    std::size_t length = 0;
    const char* bytes = luaL_checklstring(state, argument, &length);
    return {bytes, length};
}

/// For functions that walk their text once.
int WalkText(lua_State* state)
{
    const std::string_view text = Text(state, 1);
    LuaBudget::Of(state).Charge(state, static_cast<std::int64_t>(text.size()) / kBytesPerStep);
    return CallOriginal(state);
}

/// string.rep: even of an empty text it counts to the number of repetitions.
int Repeat(lua_State* state)
{
    const auto bytes = static_cast<lua_Integer>(Text(state, 1).size());
    const lua_Integer count = luaL_checkinteger(state, 2);
    const auto separator =
        lua_isnoneornil(state, 3) ? 0 : static_cast<lua_Integer>(Text(state, 3).size());
    // Texts are far shorter than 2^62 bytes, so the sum fits.
    if (count > 0 && count > kMaxRepeatedBytes / (bytes + separator + 1))
        return luaL_error(state, "the repeated text would be too long");
    LuaBudget::Of(state).Charge(state, count > 0 ? count : 0);
    return CallOriginal(state);
}

/// Whether a format writes addresses ("%p"), which must not leave the process.
bool WritesAddress(std::string_view format)
{
    std::size_t at = 0;
    while ((at = format.find('%', at)) != std::string_view::npos) {
        at = format.find_first_not_of("-+ #0123456789.", at + 1);
        if (at == std::string_view::npos)
            return false;
        if (format[at] == 'p')
            return true;
        ++at;
    }
    return false;
}

int Format(lua_State* state)
{
    const std::string_view format = Text(state, 1);
    if (WritesAddress(format))
        return luaL_error(state, "string.format knows no %%p here");
    LuaBudget::Of(state).Charge(state, static_cast<std::int64_t>(format.size()));
    for (int i = 2; i <= lua_gettop(state); ++i) {
        const int type = lua_type(state, i);
        luaL_argcheck(state,
                      type != LUA_TTABLE && type != LUA_TFUNCTION && type != LUA_TUSERDATA,
                      i,
                      "text, number or boolean expected");
    }
    return CallOriginal(state);
}

/// find, match, gmatch and gsub: patterns run in C, where no hook looks.
int Match(lua_State* state)
{
    const std::string_view text = Text(state, 1);
    const std::string_view pattern = Text(state, 2);
    // Only string.find has a plain search. Anywhere else the flag means something different.
    const bool find = lua_toboolean(state, lua_upvalueindex(2)) != 0;
    const bool plain = find && (lua_toboolean(state, 4) != 0 || IsPlainPattern(pattern));
    LuaBudget& budget = LuaBudget::Of(state);
    budget.ChargePattern(state,
                         plain ? EstimateSearchWork(pattern.size(), text.size())
                               : EstimatePatternWork(pattern, text.size()));
    return CallOriginal(state);
}

void Wrap(lua_State* state, const char* field, lua_CFunction function, bool flag)
{
    lua_getfield(state, -1, field);
    lua_pushboolean(state, flag ? 1 : 0);
    lua_pushcclosure(state, function, 2);
    lua_setfield(state, -2, field);
}

} // namespace

void BoundTextFunctions(lua_State* state)
{
    Wrap(state, "rep", &Repeat, false);
    Wrap(state, "format", &Format, false);
    Wrap(state, "find", &Match, true);
    for (const char* name : {"match", "gmatch", "gsub"})
        Wrap(state, name, &Match, false);
    for (const char* name : {"lower", "upper", "reverse", "byte"})
        Wrap(state, name, &WalkText, false);
}

} // namespace KxC
