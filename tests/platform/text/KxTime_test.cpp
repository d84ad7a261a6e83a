// SPDX-License-Identifier: MIT
#include "KxTime.h"

#include <gtest/gtest.h>

namespace KxC {
namespace {

TEST(KxTime, StartsAtZero)
{
    const KxTime time;
    EXPECT_EQ(time.GetYear(), 0);
    EXPECT_EQ(time.GetMonth(), 0);
    EXPECT_EQ(time.GetDay(), 0);
}

TEST(KxTime, KeepsADateAsGivenEvenOneThatDoesNotExist)
{
    const KxTime time(2019, 2, 31);
    const KxTime copy = time;
    EXPECT_EQ(copy.GetYear(), 2019);
    EXPECT_EQ(copy.GetMonth(), 2);
    EXPECT_EQ(copy.GetDay(), 31);
}

} // namespace
} // namespace KxC
