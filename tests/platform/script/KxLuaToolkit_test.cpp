// SPDX-License-Identifier: MIT
#include "KxLuaToolkit.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

namespace KxC {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

/// What a script's GetTileURL with this body gives for level 3, row 5, column 6.
std::string Url(const std::string& body)
{
    KxLuaToolkit toolkit;
    const std::string script = "function GetTileURL(level, row, col) " + body + " end";
    EXPECT_EQ(toolkit.LoadFromString(script.c_str()), 1) << KxLuaToolkit::GetLastError().Cstr();
    return toolkit.GetTileURL(3, 5, 6).Cstr();
}

std::string LastError()
{
    return KxLuaToolkit::GetLastError().Cstr();
}

class ScratchFile
{
public:
    ScratchFile(const std::string& name, const std::string& text)
        : m_path(std::filesystem::temp_directory_path() /
                 ("kxtile-" + std::to_string(::getpid()) + "-" + name))
    {
        std::ofstream(m_path, std::ios::binary) << text;
    }
    ~ScratchFile() { std::filesystem::remove(m_path); }
    ScratchFile(const ScratchFile&) = delete;
    ScratchFile& operator=(const ScratchFile&) = delete;
    KxString Path() const { return m_path.c_str(); }

private:
    std::filesystem::path m_path;
};

TEST(KxLuaToolkit, HandsLevelRowAndColumnToTheScript)
{
    EXPECT_EQ(Url("return 'http://a/' .. level .. '/' .. col .. '/' .. row"), "http://a/3/6/5");
    EXPECT_EQ(LastError(), "");
    EXPECT_EQ(Url("return math.type(level) .. row // 2"), "integer2");
}

TEST(KxLuaToolkit, HandsOverTheWholeRangeOfIntegers)
{
    KxLuaToolkit toolkit;
    toolkit.LoadFromString("function GetTileURL(z, y, x) return z .. ' ' .. y .. ' ' .. x end");
    EXPECT_STREQ(toolkit.GetTileURL(-2147483647 - 1, 2147483647, 0).Cstr(),
                 "-2147483648 2147483647 0");
}

TEST(KxLuaToolkit, KeepsTheScriptsStateBetweenCalls)
{
    KxLuaToolkit toolkit;
    toolkit.LoadFromString("local n = 0 function GetTileURL() n = n + 1 return 'u' .. n end");
    EXPECT_STREQ(toolkit.GetTileURL(0, 0, 0).Cstr(), "u1");
    EXPECT_STREQ(toolkit.GetTileURL(0, 0, 0).Cstr(), "u2");
}

TEST(KxLuaToolkit, PutsANewScriptInPlaceOfTheOldOne)
{
    KxLuaToolkit toolkit;
    toolkit.LoadFromString("leftover = 1 function GetTileURL() return 'old' end");
    EXPECT_EQ(
        toolkit.LoadFromString("function GetTileURL() return 'new' .. tostring(leftover) end"), 1);
    EXPECT_STREQ(toolkit.GetTileURL(0, 0, 0).Cstr(), "newnil");
    EXPECT_EQ(toolkit.LoadFromString("this is no Lua"), 0);
    EXPECT_STREQ(toolkit.GetTileURL(0, 0, 0).Cstr(), "");
    EXPECT_THAT(LastError(), StartsWith("the script did not load: script:1:"));
}

TEST(KxLuaToolkit, HasNothingToSayWithoutAScript)
{
    KxLuaToolkit toolkit;
    EXPECT_STREQ(toolkit.GetTileURL(0, 0, 0).Cstr(), "");
    EXPECT_EQ(LastError(), "there is no script");
}

TEST(KxLuaToolkit, LoadsAScriptFile)
{
    const ScratchFile file("a.lua",
                           "\xEF\xBB\xBF"
                           "function GetTileURL() return 'u' end");
    KxLuaToolkit toolkit;
    EXPECT_EQ(toolkit.LoadFile(file.Path()), 1) << LastError();
    EXPECT_STREQ(toolkit.GetTileURL(0, 0, 0).Cstr(), "u");
}

TEST(KxLuaToolkit, NamesTheFileAndLineOfAnError)
{
    const ScratchFile file("b.lua", "function GetTileURL(z)\n  return z .. missing\nend");
    KxLuaToolkit toolkit;
    ASSERT_EQ(toolkit.LoadFile(file.Path()), 1);
    EXPECT_STREQ(toolkit.GetTileURL(0, 0, 0).Cstr(), "");
    EXPECT_THAT(LastError(), HasSubstr("b.lua:2: attempt to concatenate a nil value"));
}

TEST(KxLuaToolkit, RefusesWhatIsNoSmallRegularFile)
{
    KxLuaToolkit toolkit;
    for (const char* path : {"/nowhere/a.lua", "/tmp", "/dev/zero", ""}) {
        toolkit.LoadFromString("function GetTileURL() return 'u' end");
        EXPECT_EQ(toolkit.LoadFile(path), 0) << path;
        EXPECT_THAT(LastError(), StartsWith("the script file cannot be read"));
        EXPECT_STREQ(toolkit.GetTileURL(0, 0, 0).Cstr(), "");
    }
    const std::string script = "function GetTileURL() return 'u' end --";
    const std::size_t room = (std::size_t{1} << 20) - script.size();
    EXPECT_EQ(toolkit.LoadFromString((script + std::string(room, 'x')).c_str()), 1);
    EXPECT_EQ(toolkit.LoadFromString((script + std::string(room + 1, 'x')).c_str()), 0);
    const ScratchFile exact("c.lua", script + std::string(room, 'x'));
    EXPECT_EQ(toolkit.LoadFile(exact.Path()), 1);
    const ScratchFile large("d.lua", script + std::string(room + 1, 'x'));
    EXPECT_EQ(toolkit.LoadFile(large.Path()), 0);
}

TEST(KxLuaToolkit, RefusesBinaryChunks)
{
    KxLuaToolkit toolkit;
    EXPECT_EQ(toolkit.LoadFromString("\x1BLua"), 0);
    EXPECT_THAT(LastError(), HasSubstr("binary"));
}

struct BadResult
{
    const char* script;
    const char* error;
};

class BadResults : public ::testing::TestWithParam<BadResult>
{
};

TEST_P(BadResults, GiveNoUrlAndTheReason)
{
    KxLuaToolkit toolkit;
    ASSERT_EQ(toolkit.LoadFromString(GetParam().script), 1) << LastError();
    EXPECT_STREQ(toolkit.GetTileURL(1, 2, 3).Cstr(), "");
    EXPECT_THAT(LastError(), HasSubstr(GetParam().error));
}

INSTANTIATE_TEST_SUITE_P(
    KxLuaToolkit,
    BadResults,
    ::testing::Values(
        BadResult{"", "the script defines no function GetTileURL"},
        BadResult{"GetTileURL = 'text'", "the script defines no function GetTileURL"},
        BadResult{"function GetTileURL() end", "returned a nil"},
        BadResult{"function GetTileURL() return 12 end", "returned a number"},
        BadResult{"function GetTileURL() return {} end", "returned a table"},
        BadResult{"function GetTileURL() return '' end", "returned an empty text"},
        BadResult{"function GetTileURL() return ('x'):rep(8193) end", "more than 8192 bytes"},
        BadResult{"function GetTileURL() return ('x'):rep(10 << 20) end", "would be too long"},
        BadResult{"function GetTileURL() local s = ('x'):rep(1 << 19) "
                  "return s .. s .. s .. s .. s .. s .. s .. s .. s .. s .. s .. s .. s .. s .. s "
                  ".. s .. s .. s .. s .. s end",
                  "memory"},
        BadResult{"function GetTileURL() return true end", "returned a boolean"},
        BadResult{"function GetTileURL() return function() end end", "returned a function"},
        BadResult{"function GetTileURL() return 'a\\0b' end", "control characters"},
        BadResult{"function GetTileURL() return 'a\\r\\nHost: b' end", "control characters"},
        BadResult{"function GetTileURL() error('own words') end", "script:1: own words"},
        BadResult{"function GetTileURL() error('two\\nlines', 0) end", "two lines"},
        BadResult{"function GetTileURL() error({}) end", "raised a table as error"},
        BadResult{"function GetTileURL() error() end", "raised a nil as error"},
        BadResult{"function GetTileURL() error(5) end", "raised a number as error"}));

TEST(KxLuaToolkit, TakesAUrlOfExactly8KiB)
{
    EXPECT_EQ(Url("return ('x'):rep(8192)"), std::string(8192, 'x'));
}

TEST(KxLuaToolkit, WritesNumbersTheSameInEveryLocale)
{
    const std::string before = std::setlocale(LC_ALL, nullptr);
    if (std::setlocale(LC_ALL, "de_DE.UTF-8") == nullptr)
        GTEST_SKIP() << "no locale with a decimal comma here";
    EXPECT_EQ(Url("return string.format('%.1f', 1.5) .. tostring(tonumber('2.5'))"), "1.52.5");
    std::setlocale(LC_ALL, before.c_str());
}

TEST(KxLuaToolkit, KeepsEachThreadsErrorApart)
{
    KxLuaToolkit toolkit;
    toolkit.GetTileURL(0, 0, 0);
    std::thread([] { EXPECT_EQ(LastError(), ""); }).join();
    EXPECT_EQ(LastError(), "there is no script");
}

TEST(KxLuaToolkit, ServesManyThreadsFromOneScript)
{
    KxLuaToolkit toolkit;
    toolkit.LoadFromString("local n = 0 function GetTileURL(z, y, x) n = n + 1 "
                           "return z .. '/' .. y .. '/' .. x end "
                           "local old = GetTileURL "
                           "function GetTileURL(z, y, x) if z < 0 then return 'n' .. n end "
                           "return old(z, y, x) end");
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&toolkit, t] {
            for (int i = 0; i < 500; ++i) {
                const std::string expected = std::to_string(t) + "/" + std::to_string(i) + "/7";
                ASSERT_EQ(std::string(toolkit.GetTileURL(t, i, 7).Cstr()), expected);
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_STREQ(toolkit.GetTileURL(-1, 0, 0).Cstr(), "n2000");
}

TEST(KxLuaToolkit, StandsLoadingWhileOthersCall)
{
    KxLuaToolkit toolkit;
    toolkit.LoadFromString("function GetTileURL() return 'a' end");
    std::thread caller([&toolkit] {
        for (int i = 0; i < 300; ++i)
            EXPECT_STREQ(toolkit.GetTileURL(0, 0, 0).Cstr(), "a");
    });
    for (int i = 0; i < 20; ++i)
        EXPECT_EQ(toolkit.LoadFromString("function GetTileURL() return 'a' end"), 1);
    caller.join();
}

} // namespace
} // namespace KxC
