// SPDX-License-Identifier: MIT
#include "KxLuaToolkit.h"

#include <gmock/gmock.h>

#include <ctime>
#include <iomanip>
#include <sstream>
#include <string>

namespace KxC {
namespace {

std::string Eval(const std::string& expression)
{
    KxLuaToolkit toolkit;
    const std::string script = "function GetTileURL() return tostring(" + expression + ") end";
    EXPECT_EQ(toolkit.LoadFromString(script.c_str()), 1) << KxLuaToolkit::GetLastError().Cstr();
    return toolkit.GetTileURL(0, 0, 0).Cstr();
}

TEST(KxLuaToolkit, OffersTheUsefulPartOfLuasLibrary)
{
    EXPECT_EQ(Eval("('%02d/%s'):format(7, 'a')"), "07/a");
    EXPECT_EQ(Eval("('a-b'):gsub('%-', '+')"), "a+b");
    EXPECT_EQ(Eval("('2024-05-06'):match('(%d+)%-(%d+)%-(%d+)')"), "2024");
    EXPECT_EQ(Eval("('http://a/b/c'):find('/b', 1, true)"), "9");
    EXPECT_EQ(Eval("('abc'):sub(2):upper():rep(2, ',')"), "BC,BC");
    EXPECT_EQ(Eval("('abc'):byte(2)"), "98");
    EXPECT_EQ(Eval("string.char(65, 66):lower():reverse()"), "ba");
    EXPECT_EQ(Eval("math.floor(2.7) + (5 // 2) + (7 & 3)"), "7");
    EXPECT_EQ(Eval("table.concat({1, 2, 3}, ',')"), "1,2,3");
    EXPECT_EQ(Eval("select('#', table.unpack({1, 2, 3}))"), "3");
    EXPECT_EQ(Eval("select(2, table.unpack({1, 2, 3}, 2))"), "3");
    EXPECT_EQ(Eval("table.concat({'a', 'b', 'c'}, '', 2)"), "bc");
    EXPECT_EQ(Eval("table.concat({}, ',')"), "");
    EXPECT_EQ(Eval("tonumber('ff', 16)"), "255");
    EXPECT_EQ(Eval("rawequal(_G.string, string)"), "true");
    EXPECT_EQ(Eval("{}"), "table");
    EXPECT_EQ(Eval("tostring"), "function");
}

TEST(KxLuaToolkit, InsertsAndRemoves)
{
    EXPECT_EQ(Eval("(function() local t = {1, 3} table.insert(t, 2, 2) table.insert(t, 4) "
                   "table.remove(t, 1) return table.concat(t, ',') end)()"),
              "2,3,4");
}

TEST(KxLuaToolkit, SortsLikeTheCommonLibraryDoes)
{
    const std::string sorted = "(function(t, f) table.sort(t, f) return table.concat(t, ' ') end)";
    EXPECT_EQ(Eval(sorted + "({5, 2, 9, 1, 7, 7, 3})"), "1 2 3 5 7 7 9");
    EXPECT_EQ(Eval(sorted + "({5, 2, 9}, function(a, b) return a > b end)"), "9 5 2");
    EXPECT_EQ(Eval(sorted + "({'b', 'a', 'c', 'B'})"), "B a b c");
    EXPECT_EQ(Eval(sorted + "({1})"), "1");
    EXPECT_EQ(Eval("#" + sorted + "({})"), "0");
    // Equal elements keep their order.
    EXPECT_EQ(Eval(sorted + "({'b1', 'a1', 'b2', 'a2', 'b3'}, "
                            "function(x, y) return x:sub(1, 1) < y:sub(1, 1) end)"),
              "a1 a2 b1 b2 b3");
    // A comparison without sense gives some order of the same elements, and ends.
    EXPECT_EQ(Eval("#" + sorted + "({1, 2, 3, 4, 5}, function() return true end)"), "9");
}

TEST(KxLuaToolkit, OffersNothingThatReachesOut)
{
    for (const char* name :
         {"io",           "os",         "package",     "debug",       "require",
          "load",         "loadstring", "dofile",      "loadfile",    "collectgarbage",
          "coroutine",    "print",      "warn",        "xpcall",      "setmetatable",
          "getmetatable", "utf8",       "string.dump", "string.pack", "string.unpack",
          "table.move"})
        EXPECT_EQ(Eval(name), "nil") << name;
}

std::string Utc(const char* format, std::time_t moment)
{
    std::tm parts = {};
    ::gmtime_r(&moment, &parts);
    std::ostringstream text;
    text << std::put_time(&parts, format);
    return text.str();
}

TEST(KxLuaToolkit, TellsTheDateInUtc)
{
    const std::time_t before = std::time(nullptr);
    const std::string today = Eval("utc_date('%Y-%m-%d')");
    const std::string yesterday = Eval("utc_date('%Y-%m-%d', -86400)");
    const std::time_t after = std::time(nullptr);
    EXPECT_TRUE(today == Utc("%Y-%m-%d", before) || today == Utc("%Y-%m-%d", after));
    EXPECT_TRUE(yesterday == Utc("%Y-%m-%d", before - 86400) ||
                yesterday == Utc("%Y-%m-%d", after - 86400));
    EXPECT_EQ(Eval("utc_date('100%%')"), "100%");
}

TEST(KxLuaToolkit, RefusesOtherDateFormats)
{
    for (const char* call : {"utc_date('%c')",
                             "utc_date('%')",
                             "utc_date('')",
                             "utc_date()",
                             "utc_date('%Y', 1 << 60)",
                             "utc_date(('%Y'):rep(40))",
                             "utc_date('%Ey')",
                             "utc_date('%Y\\0%c')"})
        EXPECT_EQ(Eval(call), "") << call;
}

} // namespace
} // namespace KxC
