// SPDX-License-Identifier: MIT
#include "LuaLibrary.h"

#include "LuaBudget.h"

#include <cstring>
#include <ctime>

namespace KxC {

namespace {

constexpr const char* kGlobals[] = {"_G",
                                    "_VERSION",
                                    "assert",
                                    "error",
                                    "ipairs",
                                    "math",
                                    "next",
                                    "pairs",
                                    "rawequal",
                                    "rawget",
                                    "rawlen",
                                    "rawset",
                                    "select",
                                    "string",
                                    "table",
                                    "tonumber",
                                    "type",
                                    nullptr};
constexpr const char* kTextFunctions[] = {"byte",
                                          "char",
                                          "find",
                                          "format",
                                          "gmatch",
                                          "gsub",
                                          "len",
                                          "lower",
                                          "match",
                                          "rep",
                                          "reverse",
                                          "sub",
                                          "upper",
                                          nullptr};
constexpr const char* kTableFunctions[] = {"concat", "insert", "pack", "remove", "unpack", nullptr};

/// Tables of at most so many elements may be handed to a function that walks them in C.
constexpr lua_Integer kMaxElements = lua_Integer{1} << 18;

/// Sorting in Lua's own language, so that every comparison and every step is counted. Merging
/// keeps equal elements in their order and stands any comparison function.
constexpr char kSortInLua[] = R"lua(
local error, type = error, type
local function less(a, b) return a < b end

local function merge(from, to, low, middle, high, before)
    local left, right = low, middle
    for i = low, high - 1 do
        if left < middle and (right >= high or not before(from[right], from[left])) then
            to[i], left = from[left], left + 1
        else
            to[i], right = from[right], right + 1
        end
    end
end

function table.sort(list, before)
    if type(list) ~= "table" then error("table.sort takes a table", 2) end
    before = before or less
    local count, width = #list, 1
    local from, to = {}, {}
    for i = 1, count do from[i] = list[i] end
    while width < count do
        for low = 1, count, 2 * width do
            local middle = low + width
            if middle > count + 1 then middle = count + 1 end
            local high = middle + width
            if high > count + 1 then high = count + 1 end
            merge(from, to, low, middle, high, before)
        end
        from, to, width = to, from, 2 * width
    end
    for i = 1, count do list[i] = from[i] end
end
)lua";

bool IsListed(const char* name, const char* const* list)
{
    for (; *list != nullptr; ++list) {
        if (std::strcmp(name, *list) == 0)
            return true;
    }
    return false;
}

/// Drops from the table on top of the stack what the list does not name.
void KeepOnly(lua_State* state, const char* const* names)
{
    lua_pushnil(state);
    while (lua_next(state, -2) != 0) {
        lua_pop(state, 1);
        if (lua_type(state, -1) != LUA_TSTRING || !IsListed(lua_tostring(state, -1), names)) {
            lua_pushvalue(state, -1);
            lua_pushnil(state);
            lua_rawset(state, -4); // clearing a field is allowed on the way
        }
    }
}

/// pcall that a broken budget passes through.
int ProtectedCall(lua_State* state)
{
    luaL_checkany(state, 1);
    const int status = lua_pcall(state, lua_gettop(state) - 1, LUA_MULTRET, 0);
    LuaBudget::Of(state).CheckTime(state);
    lua_pushboolean(state, status == LUA_OK ? 1 : 0);
    lua_insert(state, 1);
    return lua_gettop(state);
}

/// tostring that tells no addresses: a URL must not carry them out of the process.
int ToText(lua_State* state)
{
    luaL_checkany(state, 1);
    const int type = lua_type(state, 1);
    if (type == LUA_TTABLE || type == LUA_TFUNCTION || type == LUA_TUSERDATA)
        lua_pushstring(state, lua_typename(state, type));
    else
        luaL_tolstring(state, 1, nullptr);
    return 1;
}

/// Calls the function kept as first upvalue with all arguments, once its table is known to be of
/// reasonable length. The border of a table with holes may be as large as an integer gets.
int WalkTable(lua_State* state)
{
    luaL_checktype(state, 1, LUA_TTABLE);
    const lua_Integer count = luaL_len(state, 1);
    if (count > kMaxElements)
        return luaL_error(state, "the table has too many elements");
    LuaBudget::Of(state).Charge(state, count);
    lua_pushvalue(state, lua_upvalueindex(1));
    lua_insert(state, 1);
    lua_call(state, lua_gettop(state) - 1, LUA_MULTRET);
    return lua_gettop(state);
}

/// The same for functions that take a range of a table.
int WalkRange(lua_State* state)
{
    const bool concat = lua_toboolean(state, lua_upvalueindex(2)) != 0;
    luaL_checktype(state, 1, LUA_TTABLE);
    const lua_Integer first = luaL_optinteger(state, concat ? 3 : 2, 1);
    const bool open = lua_isnoneornil(state, concat ? 4 : 3);
    const lua_Integer last = open ? luaL_len(state, 1) : luaL_checkinteger(state, concat ? 4 : 3);
    if (first <= last) {
        const lua_Unsigned span =
            static_cast<lua_Unsigned>(last) - static_cast<lua_Unsigned>(first);
        if (span >= static_cast<lua_Unsigned>(kMaxElements))
            return luaL_error(state, "the range has too many elements");
        LuaBudget::Of(state).Charge(state, static_cast<lua_Integer>(span) + 1);
    }
    lua_pushvalue(state, lua_upvalueindex(1));
    lua_insert(state, 1);
    lua_call(state, lua_gettop(state) - 1, LUA_MULTRET);
    return lua_gettop(state);
}

bool IsDateFormat(const char* format)
{
    for (; *format != '\0'; ++format) {
        if (*format != '%')
            continue;
        ++format;
        if (*format == '\0' || std::strchr("YmdHMSjy%", *format) == nullptr)
            return false;
    }
    return true;
}

/// utc_date(format [, offset]): the date and time now, in UTC, moved by `offset` seconds.
int UtcDate(lua_State* state)
{
    constexpr lua_Integer kTenYears = lua_Integer{3653} * 86400;
    constexpr std::size_t kMaxFormat = 64;
    std::size_t length = 0;
    const char* format = luaL_checklstring(state, 1, &length);
    const lua_Integer offset = luaL_optinteger(state, 2, 0);
    luaL_argcheck(state,
                  length > 0 && length <= kMaxFormat && std::strlen(format) == length &&
                      IsDateFormat(format),
                  1,
                  "a format of at most 64 bytes with %Y %m %d %H %M %S %j %y expected");
    luaL_argcheck(state, offset >= -kTenYears && offset <= kTenYears, 2, "at most ten years");
    const std::time_t moment = std::time(nullptr) + static_cast<std::time_t>(offset);
    std::tm parts = {};
    ::gmtime_r(&moment, &parts);
    char text[kMaxFormat * 4];
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral" // checked above
    const std::size_t written = std::strftime(text, sizeof text, format, &parts);
#pragma GCC diagnostic pop
    lua_pushlstring(state, text, written);
    return 1;
}

/// Puts `function`, with the field's old value as its first upvalue, into the field of the table
/// on top of the stack.
void Wrap(lua_State* state, const char* field, lua_CFunction function, bool flag)
{
    lua_getfield(state, -1, field);
    lua_pushboolean(state, flag ? 1 : 0);
    lua_pushcclosure(state, function, 2);
    lua_setfield(state, -2, field);
}

void OpenTables(lua_State* state)
{
    luaL_requiref(state, LUA_TABLIBNAME, luaopen_table, 1);
    KeepOnly(state, kTableFunctions);
    Wrap(state, "insert", &WalkTable, false);
    Wrap(state, "remove", &WalkTable, false);
    Wrap(state, "concat", &WalkRange, true);
    Wrap(state, "unpack", &WalkRange, false);
    lua_pop(state, 1);
}

void OpenTexts(lua_State* state)
{
    luaL_requiref(state, LUA_STRLIBNAME, luaopen_string, 1);
    KeepOnly(state, kTextFunctions);
    BoundTextFunctions(state);
    lua_pop(state, 1);
}

} // namespace

void OpenScriptLibrary(lua_State* state)
{
    luaL_requiref(state, LUA_GNAME, luaopen_base, 1);
    OpenTables(state);
    OpenTexts(state);
    luaL_requiref(state, LUA_MATHLIBNAME, luaopen_math, 1);
    lua_pop(state, 1);
    KeepOnly(state, kGlobals);
    lua_pop(state, 1);
    lua_register(state, "pcall", &ProtectedCall);
    lua_register(state, "tostring", &ToText);
    lua_register(state, "utc_date", &UtcDate);
    if (luaL_loadbufferx(state, kSortInLua, sizeof kSortInLua - 1, "=table.sort", "t") != LUA_OK)
        lua_error(state);
    lua_call(state, 0, 0);
}

} // namespace KxC
