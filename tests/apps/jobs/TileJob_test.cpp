// SPDX-License-Identifier: MIT
#include "jobs/TileJob.h"

#include "Command.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <fstream>
#include <latch>
#include <mutex>
#include <set>
#include <stdexcept>
#include <thread>
#include <tuple>
#include <vector>

namespace KxTileHost {
namespace {

const GeoBounds kWorld{-180.0, -90.0, 180.0, 90.0};

TileJobOptions Threads(int count)
{
    TileJobOptions options;
    options.m_threads = count;
    return options;
}

TEST(TileJob, WorksOnEachTileOnce)
{
    std::mutex mutex;
    std::multiset<std::tuple<int, int, int>> seen;
    const TileList tiles(kWorld, {0, 4});
    const TileJobEnd end = RunTileJob(
        tiles,
        [&](const HostTile& tile) {
            const std::lock_guard<std::mutex> lock(mutex);
            seen.emplace(tile.m_z, tile.m_y, tile.m_x);
            return TileResult{TileOutcome::Made, 10, {}};
        },
        Threads(8));
    EXPECT_EQ(end.m_counts.m_made, 341U); // 1 + 4 + 16 + 64 + 256
    EXPECT_EQ(end.m_counts.m_madeBytes, 3410U);
    EXPECT_EQ(seen.size(), 341U);
    EXPECT_EQ(std::set(seen.begin(), seen.end()).size(), 341U);
    EXPECT_FALSE(end.m_isInterrupted);
}

TEST(TileJob, WorksOnSeveralTilesAtOnce)
{
    constexpr int kThreads = 3;
    std::latch allIn(kThreads); // never opens unless three work at a time
    const TileJobEnd end = RunTileJob(
        TileList({{0, 0, 0}, {0, 0, 1}, {1, 0, 1}}),
        [&](const HostTile&) {
            allIn.arrive_and_wait();
            return TileResult{TileOutcome::Made, 0, {}};
        },
        Threads(kThreads));
    EXPECT_EQ(end.m_counts.m_made, 3U);
}

TEST(TileJob, GoesOnPastFailuresAndListsThem)
{
    const KxC::TempFolder folder;
    TileJobOptions options = Threads(2);
    options.m_failedList = folder.File("failed");
    const TileJobEnd end = RunTileJob(
        TileList(kWorld, {2, 2}),
        [](const HostTile& tile) -> TileResult {
            if (tile.m_x == 0)
                throw std::runtime_error("thrown");
            if (tile.m_x == 1)
                return {TileOutcome::Failed, 0, "told"};
            return {tile.m_x == 2 ? TileOutcome::Hole : TileOutcome::Kept, 7, {}};
        },
        options);
    EXPECT_EQ(end.m_counts.m_failed, 8U);
    EXPECT_EQ(end.m_counts.m_holes, 4U);
    EXPECT_EQ(end.m_counts.m_kept, 4U);
    EXPECT_EQ(end.m_counts.m_madeBytes, 0U) << "nothing was made";
    EXPECT_TRUE(end.m_isListWritten);
    EXPECT_EQ(ReadTileList(options.m_failedList).size(), 8U);
}

/// What comes of 4096 tiles of which the service refuses all but the first.
TileJobEnd RunRefused(const TileJobOptions& options)
{
    return RunTileJob(
        TileList(kWorld, {6, 6}),
        [](const HostTile& tile) -> TileResult {
            if (tile.m_x == 0 && tile.m_y == 0)
                return {TileOutcome::Made, 1, {}};
            return {TileOutcome::Failed, 0, "HTTP status 403", Outlook::Refused};
        },
        options);
}

TEST(TileJob, GivesUpAfterARowOfRefusals)
{
    const TileJobEnd alone = RunRefused(Threads(1));
    EXPECT_EQ(alone.m_counts.m_made, 1U);
    EXPECT_EQ(alone.m_counts.m_failed, 64U);
    EXPECT_TRUE(alone.EndedEarly());
    EXPECT_FALSE(alone.m_isInterrupted);
    EXPECT_EQ(alone.m_whyGivenUp, "64 tiles in a row were refused; the last one: HTTP status 403");
    const TileJobEnd together = RunRefused(Threads(4));
    EXPECT_TRUE(together.EndedEarly());
    EXPECT_LE(together.m_counts.m_failed, 64U + 3) << "each of the others may have one in work";
}

TEST(TileJob, DoesNotGiveUpWhenNothingIsLeft)
{
    for (const int last : {63, 64}) { // columns; the row is full with column 63
        std::vector<HostTile> tiles;
        for (int column = 0; column <= last; ++column)
            tiles.push_back({column, 0, 30});
        const TileJobEnd end = RunTileJob(
            TileList(tiles),
            [](const HostTile&) -> TileResult {
                return {TileOutcome::Failed, 0, "HTTP status 403", Outlook::Refused};
            },
            Threads(1));
        EXPECT_EQ(end.m_counts.m_failed, 64U);
        EXPECT_EQ(end.EndedEarly(), last == 64);
    }
}

// Of a service with several servers, one that is dead fails at once, the others take their time.
TEST(TileJob, DoesNotGiveUpWhileASlowTileMayStillCome)
{
    std::latch dead(16);
    const TileJobEnd end = RunTileJob(
        TileList(kWorld, {6, 6}),
        [&](const HostTile& tile) -> TileResult {
            if (tile.m_x == 0 && tile.m_y == 0)
                dead.wait();
            if (tile.m_y > 0 || tile.m_x == 0 || tile.m_x > 16)
                return {TileOutcome::Made, 1, {}};
            dead.count_down();
            return {TileOutcome::Failed, 0, "no connection", Outlook::Unreachable};
        },
        Threads(2));
    EXPECT_EQ(end.m_whyGivenUp, "");
    EXPECT_EQ(end.m_counts.m_made, 4096U - 16);
}

TEST(TileJob, GoesOnPastRefusalsWhenAskedTo)
{
    TileJobOptions options = Threads(4);
    options.m_givesUp = false;
    const TileJobEnd end = RunRefused(options);
    EXPECT_FALSE(end.EndedEarly());
    EXPECT_EQ(end.m_counts.m_failed, 4095U);
    EXPECT_EQ(end.m_lastFailure, "HTTP status 403");
}

TEST(TileJob, GivingUpARetryKeepsListedWhatItHasNotTried)
{
    const KxC::TempFolder folder;
    TileJobOptions options = Threads(1);
    options.m_failedList = options.m_retried = folder.File("list");
    std::ofstream(options.m_retried) << "0/0/30\n";
    const TileJobEnd end = RunRefused(options);
    EXPECT_EQ(end.m_listed, 4095U);
    EXPECT_EQ(ReadTileList(options.m_failedList).size(), 4095U);
}

TEST(TileJob, DoesNothingWithAnEmptyList)
{
    const TileJobEnd end = RunTileJob(
        TileList(std::vector<HostTile>{}),
        [](const HostTile&) -> TileResult { throw std::logic_error("no tile to work on"); },
        Threads(4));
    EXPECT_EQ(end.m_counts.Done(), 0U);
}

TEST(TileJob, BeginsNoTileAfterASignal)
{
    for (const int signal : {SIGINT, SIGTERM}) {
        std::atomic<int> begun{0};
        const TileJobEnd end = RunTileJob(
            TileList(kWorld, {0, 30}),
            [&](const HostTile&) {
                // To the process, as a terminal does.
                if (begun.fetch_add(1) == 5)
                    ::kill(::getpid(), signal);
                return TileResult{TileOutcome::Made, 1, {}};
            },
            Threads(2));
        EXPECT_TRUE(end.m_isInterrupted);
        EXPECT_EQ(end.m_counts.m_made, static_cast<std::uint64_t>(begun.load()));
    }
}

/// Columns of the tiles of level 30 that a list names.
std::vector<int> ColumnsIn(const std::string& list)
{
    std::vector<int> columns;
    for (const HostTile& tile : ReadTileList(list))
        columns.push_back(tile.m_x);
    return columns;
}

/// Tries columns 0 to 9 again, of which 0 and 1 fail. A signal comes with column 3.
TileJobEnd RetryInterrupted(const TileJobOptions& options)
{
    std::vector<HostTile> tiles;
    for (int column = 0; column < 10; ++column)
        tiles.push_back({column, 0, 30});
    return RunTileJob(
        TileList(tiles),
        [](const HostTile& tile) {
            if (tile.m_x == 3)
                ::kill(::getpid(), SIGINT);
            // Nobody goes on until the signal is seen: with one thread nothing else is begun.
            for (sigset_t pending{}; tile.m_x == 3;) {
                sigpending(&pending);
                if (sigismember(&pending, SIGINT) == 0)
                    break;
            }
            return TileResult{tile.m_x < 2 ? TileOutcome::Failed : TileOutcome::Made, 1, "why"};
        },
        options);
}

TEST(TileJob, KeepsListedWhatAnInterruptedRetryHasNotTried)
{
    const KxC::TempFolder folder;
    TileJobOptions options = Threads(1);
    options.m_failedList = options.m_retried = folder.File("list");
    std::ofstream(options.m_retried) << "0/0/30\n2/0/30\n9/0/30\n";
    const TileJobEnd end = RetryInterrupted(options);
    ASSERT_TRUE(end.m_isInterrupted);
    EXPECT_EQ(end.m_counts.m_failed, 2U);
    const std::vector<int> columns = ColumnsIn(options.m_failedList);
    // All but those that were made: 2, 3, and what was begun before the signal was told.
    ASSERT_EQ(columns.size(), 10 - end.m_counts.m_made);
    EXPECT_EQ(end.m_listed, columns.size());
    EXPECT_EQ(columns[0], 0);
    EXPECT_EQ(columns[1], 1);
    for (std::size_t i = 2; i < columns.size(); ++i)
        EXPECT_EQ(columns[i], static_cast<int>(end.m_counts.m_made + i));
}

TEST(TileJob, KeepsAnEarlierListWhenItIsInterrupted)
{
    const KxC::TempFolder folder;
    TileJobOptions options = Threads(1);
    options.m_failedList = folder.File("list");
    std::ofstream(options.m_failedList) << "1/0/30\n77/0/30\n";
    ASSERT_TRUE(RetryInterrupted(options).m_isInterrupted);
    EXPECT_EQ(ColumnsIn(options.m_failedList), (std::vector<int>{0, 1, 77}));
}

TEST(TileJobDeathTest, EndsThoughWorkIsStuck)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto stuck = [] {
        TileJobOptions options = Threads(2);
        options.m_onAbandon = [](const std::vector<HostTile>& inWork) {
            std::fprintf(stderr, "%zu in work, ", inWork.size());
        };
        options.m_onEnd = [](const TileJobEnd& end) {
            std::fprintf(stderr, "interrupted %d", end.m_isInterrupted ? 1 : 0);
        };
        std::atomic<int> begun{0};
        std::latch never(1);
        RunTileJob(
            TileList(kWorld, {0, 30}),
            [&](const HostTile&) -> TileResult {
                if (begun.fetch_add(1) == 1)
                    ::kill(::getpid(), SIGTERM);
                never.wait();
                return {};
            },
            options);
    };
    EXPECT_EXIT(stuck(), ::testing::ExitedWithCode(130), "2 in work, interrupted 1");
}

} // namespace
} // namespace KxTileHost
