// SPDX-License-Identifier: MIT
#include "LuaState.h"

#include "LuaLibrary.h"

#include <algorithm>
#include <array>
#include <clocale>

// Functions that Lua calls are left by longjmp when an error is raised, so none of them holds an
// object with a destructor.

namespace KxC {

namespace {

constexpr std::size_t kMaxUrlBytes = 8192;

/// Lua writes and compares by the locale; scripts have to do the same everywhere.
class PlainLocale
{
public:
    PlainLocale() : m_previous(::uselocale(Plain())) {}
    ~PlainLocale() { ::uselocale(m_previous); }
    PlainLocale(const PlainLocale&) = delete;
    PlainLocale& operator=(const PlainLocale&) = delete;

private:
    static locale_t Plain()
    {
        static locale_t plain = ::newlocale(LC_ALL_MASK, "C", nullptr);
        return plain;
    }

    locale_t m_previous;
};

struct LoadRequest
{
    const char* bytes;
    std::size_t left;
    const char* chunkName;
};

/// Hands the script over in small pieces: the parser knows no hook, but it has to come here.
const char* ReadPiece(lua_State* state, void* data, std::size_t* size)
{
    constexpr std::size_t kPieceBytes = 256;
    LuaBudget::Of(state).CheckTime(state);
    auto* request = static_cast<LoadRequest*>(data);
    const char* piece = request->bytes;
    *size = std::min(request->left, kPieceBytes);
    request->bytes += *size;
    request->left -= *size;
    return *size == 0 ? nullptr : piece;
}

int OpenLibrary(lua_State* state)
{
    OpenScriptLibrary(state);
    return 0;
}

int LoadAndRun(lua_State* state)
{
    auto* request = static_cast<LoadRequest*>(lua_touserdata(state, 1));
    if (lua_load(state, &ReadPiece, request, request->chunkName, "t") != LUA_OK)
        return lua_error(state);
    lua_call(state, 0, 0);
    return 0;
}

struct UrlRequest
{
    int level;
    int row;
    int col;
    std::array<char, kMaxUrlBytes> url;
    std::size_t length;
};

bool IsControl(char byte)
{
    return static_cast<unsigned char>(byte) < 0x20 || byte == 0x7F;
}

/// Copies the value on top of the stack, which has to be a text fit for a URL.
void TakeUrl(lua_State* state, UrlRequest& request)
{
    if (lua_type(state, -1) != LUA_TSTRING)
        luaL_error(state, "GetTileURL returned a %s, not a text", luaL_typename(state, -1));
    const char* bytes = lua_tolstring(state, -1, &request.length);
    if (request.length == 0)
        luaL_error(state, "GetTileURL returned an empty text");
    if (request.length > kMaxUrlBytes)
        luaL_error(state, "GetTileURL returned a text of more than 8192 bytes");
    if (std::any_of(bytes, bytes + request.length, IsControl))
        luaL_error(state, "GetTileURL returned a text with line breaks or control characters");
    std::copy_n(bytes, request.length, request.url.begin());
}

int CallGetTileURL(lua_State* state)
{
    auto* request = static_cast<UrlRequest*>(lua_touserdata(state, 1));
    if (lua_getglobal(state, "GetTileURL") != LUA_TFUNCTION)
        return luaL_error(state, "the script defines no function GetTileURL(level, row, col)");
    lua_pushinteger(state, request->level);
    lua_pushinteger(state, request->row);
    lua_pushinteger(state, request->col);
    lua_call(state, 3, 1);
    TakeUrl(state, *request);
    return 0;
}

/// A script's error text is from outside: one line, of bounded length.
std::string OneLine(std::string_view text)
{
    constexpr std::size_t kMaxBytes = 500;
    std::string line(text.substr(0, kMaxBytes));
    std::replace_if(line.begin(), line.end(), IsControl, ' ');
    return line;
}

} // namespace

LuaState::LuaState() : m_state(lua_newstate(&LuaBudget::Allocate, &m_budget))
{
    if (m_state != nullptr)
        m_budget.Attach(m_state);
}

LuaState::~LuaState()
{
    if (m_state != nullptr)
        lua_close(m_state);
}

std::string LuaState::Load(std::string_view script, const std::string& name)
{
    if (m_state == nullptr)
        return "out of memory";
    const std::string problem = Run(&OpenLibrary, nullptr);
    if (!problem.empty())
        return problem;
    const std::string chunkName = "=" + name;
    LoadRequest request{script.data(), script.size(), chunkName.c_str()};
    return Run(&LoadAndRun, &request);
}

std::string LuaState::GetTileURL(int level, int row, int col, std::string& url)
{
    UrlRequest request{level, row, col, {}, 0};
    std::string problem = Run(&CallGetTileURL, &request);
    if (problem.empty())
        url.assign(request.url.data(), request.length);
    return problem;
}

std::string LuaState::Run(lua_CFunction function, void* data)
{
    const PlainLocale locale;
    m_budget.Begin(m_state);
    lua_pushcfunction(m_state, function);
    lua_pushlightuserdata(m_state, data);
    std::string problem = TakeError(lua_pcall(m_state, 1, 0, 0));
    lua_settop(m_state, 0);
    return problem;
}

/// Words for the error on top of the stack. Only a text is looked at: turning another value into
/// one allocates, which outside a protected call must not fail.
std::string LuaState::TakeError(int status)
{
    if (m_budget.IsBroken())
        return m_budget.Reason();
    if (status == LUA_OK)
        return {};
    std::size_t length = 0;
    if (lua_type(m_state, -1) != LUA_TSTRING)
        return std::string("the script raised a ") + luaL_typename(m_state, -1) + " as error";
    const char* text = lua_tolstring(m_state, -1, &length);
    return OneLine({text, length});
}

} // namespace KxC
