// SPDX-License-Identifier: MIT
#include "jobs/JobProgress.h"

#include <gtest/gtest.h>

namespace KxTileHost {
namespace {

using std::chrono::seconds;

JobCounts Made(std::uint64_t tiles, std::uint64_t bytes, std::uint64_t kept = 0)
{
    JobCounts counts;
    counts.m_made = tiles;
    counts.m_madeBytes = bytes;
    counts.m_kept = kept;
    return counts;
}

const RateMeter::TimePoint kStart{seconds(1000)};

TEST(RateMeter, KnowsNothingAtFirst)
{
    RateMeter rate;
    EXPECT_EQ(rate.TilesPerSecond(), 0.0);
    EXPECT_FALSE(rate.SecondsLeft(10).has_value());
    rate.Add(kStart, {});
    EXPECT_EQ(rate.BytesPerSecond(), 0.0);
    rate.Add(kStart, Made(5, 5));
    EXPECT_EQ(rate.TilesPerSecond(), 0.0) << "no time has passed";
}

TEST(RateMeter, CountsWhatTookTime)
{
    RateMeter rate;
    rate.Add(kStart, {});
    rate.Add(kStart + seconds(2), Made(10, 3000, 500));
    EXPECT_DOUBLE_EQ(rate.TilesPerSecond(), 5.0);
    EXPECT_DOUBLE_EQ(rate.BytesPerSecond(), 1500.0);
    EXPECT_DOUBLE_EQ(rate.SecondsLeft(610).value_or(-1.0), 20.0); // (610 - 510) / 5
}

TEST(RateMeter, ForgetsWhatIsLongAgo)
{
    RateMeter rate;
    for (int second = 0; second <= 100; ++second) // 100 tiles a second, then 1
        rate.Add(kStart + seconds(second),
                 Made(static_cast<std::uint64_t>(second <= 50 ? 100 * second : 4950 + second), 0));
    EXPECT_DOUBLE_EQ(rate.TilesPerSecond(), 1.0);
}

TEST(JobProgress, ShowsShareRateBytesAndTimeLeft)
{
    RateMeter rate;
    rate.Add(kStart, {});
    rate.Add(kStart + seconds(4), Made(50, 2048));
    EXPECT_EQ(ProgressLine(Made(50, 2048), 100, rate, 200),
              "[##########..........] 50/100 12.5/s 2.0 KiB 512 B/s 0:04 left");
}

TEST(JobProgress, NeverFillsTheTerminalsLastColumn)
{
    RateMeter rate;
    for (const int width : {0, 1, 10, 40})
        EXPECT_LT(ProgressLine(Made(1, 1), 2, rate, width).size(),
                  static_cast<std::size_t>(std::max(width, 1)));
}

TEST(JobProgress, WritesTimesAsPeopleDo)
{
    EXPECT_EQ(ReadableDuration(0.2), "0:00");
    EXPECT_EQ(ReadableDuration(245.0), "4:05");
    EXPECT_EQ(ReadableDuration(3723.0), "1:02:03");
    EXPECT_EQ(ReadableDuration(1e300), "2400:00:00");
}

} // namespace
} // namespace KxTileHost
