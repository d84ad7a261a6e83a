// SPDX-License-Identifier: MIT
#include "Command.h"
#include "jobs/GeoBounds.h"
#include "jobs/LevelRange.h"

#include <gtest/gtest.h>

namespace KxTileHost {
namespace {

TEST(GeoBounds, ReadsFourNumbers)
{
    const GeoBounds bounds = ParseGeoBounds("-10.5,-20, 30,4.25");
    EXPECT_EQ(bounds.m_west, -10.5);
    EXPECT_EQ(bounds.m_south, -20.0);
    EXPECT_EQ(bounds.m_east, 30.0);
    EXPECT_EQ(bounds.m_north, 4.25);
    EXPECT_FALSE(bounds.CrossesAntimeridian());
    EXPECT_TRUE(ParseGeoBounds("170,-20,-170,10").CrossesAntimeridian());
}

TEST(GeoBounds, RefusesEverythingElse)
{
    for (const char* text : {"",
                             "1,2,3",
                             "1,2,3,4,5",
                             "1,2,3,4 ",
                             "1;2;3;4",
                             "a,2,3,4",
                             "nan,2,3,4",
                             "inf,2,3,4",
                             "1e1,2,30,4",
                             "-181,0,0,0",
                             "0,0,180.1,0",
                             "0,-91,0,0",
                             "0,0,0,90.5",
                             "0,10,5,9"})
        EXPECT_THROW(ParseGeoBounds(text), CommandError) << text;
}

TEST(LevelRange, ReadsOneLevelOrTwo)
{
    EXPECT_EQ(ParseLevelRange("7").m_first, 7);
    EXPECT_EQ(ParseLevelRange("7").m_last, 7);
    EXPECT_EQ(ParseLevelRange("0-30").m_first, 0);
    EXPECT_EQ(ParseLevelRange("0-30").m_last, 30);
}

TEST(LevelRange, RefusesEverythingElse)
{
    for (const char* text :
         {"", "-", "-3", "3-", "3--4", "3-4-5", "5-4", "31", "0-31", "a", "3 4", "99999999999"})
        EXPECT_THROW(ParseLevelRange(text), CommandError) << text;
}

} // namespace
} // namespace KxTileHost
