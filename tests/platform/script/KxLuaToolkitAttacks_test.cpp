// SPDX-License-Identifier: MIT
#include "KxLuaToolkit.h"

#include <gmock/gmock.h>

#include <string>

namespace KxC {
namespace {

std::string LastError()
{
    return KxLuaToolkit::GetLastError().Cstr();
}

// Every one of these runs without end, or takes all memory, where nothing holds it back. The test
// is that it ends; ctest's own time-out is far above what the bounds allow.
class Attacks : public ::testing::TestWithParam<const char*>
{
};

TEST_P(Attacks, EndWithAnErrorAndLeaveTheScriptUsable)
{
    KxLuaToolkit toolkit;
    const std::string script = "function GetTileURL(level) if level == 0 then return 'fine' end " +
                               std::string(GetParam()) + " return 'survived' end";
    ASSERT_EQ(toolkit.LoadFromString(script.c_str()), 1) << LastError();
    EXPECT_STREQ(toolkit.GetTileURL(1, 2, 3).Cstr(), "");
    EXPECT_NE(LastError(), "");
    EXPECT_STREQ(toolkit.GetTileURL(0, 2, 3).Cstr(), "fine") << LastError();
}

TEST_P(Attacks, EndWhileTheScriptLoads)
{
    KxLuaToolkit toolkit;
    EXPECT_EQ(toolkit.LoadFromString(GetParam()), 0);
    EXPECT_NE(LastError(), "");
}

INSTANTIATE_TEST_SUITE_P(
    KxLuaToolkit,
    Attacks,
    ::testing::Values(
        "while true do end",
        "::again:: goto again",
        "repeat until false",
        "for i = 1, math.huge do end",
        "local function f() return f() end f()",
        "local function f() return 1 + f() end f()",
        "local function f() f(pcall(f)) end f()",
        "while true do pcall(function() while true do end end) end",
        "pcall(function() while true do end end)",
        "pcall(pcall, pcall, function() while true do end end)",
        "local function f() pcall(f) end f() while true do pcall(f) end",
        "local function f() pcall(f) pcall(f) end f()",
        "while true do pcall(error) end",
        "while true do pcall(error, {}) end",
        "local s = ('x'):rep(1 << 40)",
        "local s = (''):rep(math.maxinteger)",
        "local s = (''):rep(math.maxinteger, '')",
        "local s = ('x'):rep(math.maxinteger, ('y'):rep(1000))",
        "local s = 'x' while true do s = s .. s end",
        "local s = 'x' while true do pcall(function() s = s .. s end) end",
        "local t = {} while true do t[#t + 1] = {} end",
        "local t = {} while true do t[#t + 1] = ('x'):rep(1000) .. #t end",
        "local t = {} while true do pcall(function() t[#t + 1] = {{}, {}, {}} end) end",
        "while true do local s = ('x'):rep(1 << 19) end",
        "while true do local t = {{}, {}, {}} end",
        "('a'):rep(5000):find(('a*'):rep(30) .. 'b')",
        "('a'):rep(5000):match(('a-'):rep(30) .. 'b')",
        "('a'):rep(5000):gsub(('a?'):rep(30) .. 'b', '')",
        "for x in ('a'):rep(5000):gmatch('(.-)(.-)(.-)(.-)b') do end",
        "('('):rep(100000):find('%b()%b()%b()')",
        "('a'):rep(100000):find('(a*)%1%1%1b')",
        "while true do ('a'):rep(1000):find('a*b') end",
        "('a'):rep(1 << 19):find(('a'):rep(1 << 18) .. 'b', 1, true)",
        "('a'):rep(1 << 19):find(('a'):rep(1 << 18) .. 'b')",
        "('a'):rep(1 << 19):gsub('', ('b'):rep(1 << 19))",
        "table.concat({}, '', 1, 1 << 60)",
        "table.unpack({}, 1, 1 << 60)",
        "table.unpack({}, 1, 999999)",
        "table.unpack({}, math.mininteger, math.maxinteger)",
        "local s = ('x'):rep(1 << 19) s:byte(1, -1)",
        "string.format('%1000d', 1)",
        "string.format('%p', 'x')",
        "string.format('%s', {})",
        "table.sort({3, 2, 1}, function() while true do end end)",
        "table.sort({3, 2, 1}, function() error('no') end)",
        "table.sort({1, 'a'})",
        "local t = {} for i = 1, 60000 do t[i] = -i end while true do table.sort(t) end",
        "while true do ('x'):rep(1 << 19):upper() end",
        "local s = ('x'):rep(1 << 19) while true do local b = s == s .. '' end",
        "local x <close> = {}",
        "error(setmetatable)",
        "load('while true do end')()",
        "string.dump(GetTileURL)",
        "('x'):dump()",
        "coroutine.wrap(function() end)()",
        "require('os')",
        "os.exit()",
        "os.execute('true')",
        "io.open('/etc/passwd')",
        "io.popen('true')",
        "load(string.char(27) .. 'Lua')()",
        "setmetatable('', {__index = function() end})",
        "debug.setmetatable('', {})",
        "('').upper = nil",
        "string.rep = nil local s = ('x'):rep(2)",
        "local s = ('x'):rep(1 << 19) s = s .. s .. s .. s .. s .. s .. s .. s .. s .. s",
        "local t = {} for i = 1, 5000 do t[i] = ('x'):rep(2000) end table.concat(t)",
        "local s = ('x'):rep(1 << 19):gsub('.', '%0%0%0%0%0%0%0%0%0')",
        "debug.sethook()",
        "collectgarbage('stop')",
        "getmetatable('').__index = nil"));

TEST(KxLuaToolkit, BoundsWalksOverTablesOfImmenseLength)
{
    // A table made at once with the powers of two alone keeps them in its hash part, and then its
    // length is 2^62.
    std::string powers;
    for (int i = 0; i <= 62; ++i)
        powers += "[1 << " + std::to_string(i) + "] = 1, ";
    const std::string begin = "local t = {" + powers + "} assert(#t == 1 << 62) ";
    for (const char* walk : {"table.insert(t, 1, 1)",
                             "table.remove(t, 1)",
                             "table.sort(t)",
                             "table.concat(t)",
                             "table.unpack(t)"}) {
        KxLuaToolkit toolkit;
        EXPECT_EQ(toolkit.LoadFromString((begin + walk).c_str()), 0) << walk;
        EXPECT_THAT(LastError(), ::testing::Not(::testing::HasSubstr("assertion"))) << walk;
    }
}

TEST(KxLuaToolkit, EndsLoadingOfAScriptThatIsSlowToParse)
{
    // Each "and" makes the parser walk the list of all jumps before it.
    std::string script = "local a x=a";
    while (script.size() < 1000000)
        script += " and a";
    KxLuaToolkit toolkit;
    toolkit.LoadFromString(script.c_str());
    std::string nested(200000, '(');
    EXPECT_EQ(toolkit.LoadFromString(("x=" + nested).c_str()), 0);
    std::string labels;
    for (int i = 0; labels.size() < 1000000; ++i)
        labels += "::l" + std::to_string(i) + "::";
    EXPECT_EQ(toolkit.LoadFromString(labels.c_str()), 0);
}

TEST(KxLuaToolkit, KeepsWhatAScriptDoesToItsLibraryFromOthers)
{
    KxLuaToolkit spoiler;
    KxLuaToolkit other;
    ASSERT_EQ(spoiler.LoadFromString("string.format = nil tostring = nil math.floor = error "
                                     "function GetTileURL() return ('x'):format() end"),
              1);
    EXPECT_STREQ(spoiler.GetTileURL(0, 0, 0).Cstr(), "");
    other.LoadFromString(
        "function GetTileURL(z) return ('%d'):format(math.floor(z)) .. tostring(z) end");
    EXPECT_STREQ(other.GetTileURL(4, 0, 0).Cstr(), "44") << LastError();
    // A script put in place of the spoiler begins with the whole library again.
    spoiler.LoadFromString("function GetTileURL(z) return ('%d'):format(z) end");
    EXPECT_STREQ(spoiler.GetTileURL(7, 0, 0).Cstr(), "7") << LastError();
}

TEST(KxLuaToolkit, GivesEveryCallAFreshBudget)
{
    KxLuaToolkit toolkit;
    // A tenth of the steps of one call, thirty times.
    toolkit.LoadFromString("function GetTileURL() for i = 1, 500000 do end return 'u' end");
    for (int i = 0; i < 30; ++i)
        ASSERT_STREQ(toolkit.GetTileURL(0, 0, 0).Cstr(), "u") << LastError();
}

TEST(KxLuaToolkit, LetsAScriptCatchItsOwnErrors)
{
    KxLuaToolkit toolkit;
    toolkit.LoadFromString(
        "function GetTileURL() local good, message = pcall(error, 'e', 0) "
        "local a, b, c = select(2, pcall(function(...) return ... end, 1, 2, 3)) "
        "return tostring(good) .. message .. a .. b .. c end");
    EXPECT_STREQ(toolkit.GetTileURL(0, 0, 0).Cstr(), "falsee123");
}

} // namespace
} // namespace KxC
