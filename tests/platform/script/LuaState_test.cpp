// SPDX-License-Identifier: MIT
#include "LuaState.h"

#include "LuaPatternWork.h"

#include <gtest/gtest.h>

namespace KxC {
namespace {

TEST(LuaState, LeavesItsStackEmpty)
{
    for (const char* script : {"function GetTileURL() return 'u' end",
                               "function GetTileURL() return 'u', 2, 3 end",
                               "function GetTileURL() end",
                               "function GetTileURL() error({}) end",
                               "function GetTileURL() while true do end end",
                               "return 1, 2, 3",
                               "no Lua"}) {
        LuaState state;
        EXPECT_EQ(state.StackHeight(), 0);
        state.Load(script, "script");
        EXPECT_EQ(state.StackHeight(), 0) << script;
        std::string url;
        for (int i = 0; i < 3; ++i)
            state.GetTileURL(1, 2, 3, url);
        EXPECT_EQ(state.StackHeight(), 0) << script;
    }
}

TEST(LuaPatternWork, GrowsWithEveryRepetition)
{
    // (n + 1) ^ (repetitions + 1): a lower bound of the estimate.
    EXPECT_GE(EstimatePatternWork("a", 99), 100.0);
    EXPECT_GE(EstimatePatternWork("a*", 99), 100.0 * 100.0);
    EXPECT_GE(EstimatePatternWork("a*b-c?", 99), 1e8);
    EXPECT_GE(EstimatePatternWork("%b()", 99), 1e4);
    EXPECT_GE(EstimatePatternWork("(a)%1", 99), 1e4);
    EXPECT_LT(EstimatePatternWork("^a*", 99), 1e4);
    EXPECT_LT(EstimatePatternWork("%*%+%-%?", 99), 1e4);
    EXPECT_GT(EstimatePatternWork(std::string(4000, '*'), 1000000), 1e300);
}

TEST(LuaPatternWork, KnowsPlainTexts)
{
    EXPECT_TRUE(IsPlainPattern("http://a/b"));
    for (const char* pattern : {"^a", "a$", "a*", "a+", "a?", "a.b", "(a", "[a", "%a", "a-"})
        EXPECT_FALSE(IsPlainPattern(pattern)) << pattern;
}

} // namespace
} // namespace KxC
