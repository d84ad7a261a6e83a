// SPDX-License-Identifier: MIT
#include "jobs/Outlook.h"

#include "KxNetGetch.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

namespace KxTileHost {
namespace {

TileResult Failed(Outlook outlook, const char* why = "why")
{
    return {TileOutcome::Failed, 0, why, outlook};
}

/// Adds the same result so many times, of one tile after the other.
void Add(FailureRow& row, int count, const TileResult& result)
{
    for (int i = 0; i < count; ++i)
        row.Add(row.Begin(), result);
}

TEST(FailureRow, IsHopelessAfterSoManyOfOneReason)
{
    FailureRow refused;
    Add(refused, FailureRow::kRefused - 1, Failed(Outlook::Refused));
    EXPECT_FALSE(refused.IsHopeless());
    Add(refused, 1, Failed(Outlook::Refused, "HTTP status 403"));
    EXPECT_TRUE(refused.IsHopeless());
    EXPECT_EQ(refused.Describe(), "64 tiles in a row were refused; the last one: HTTP status 403");
    FailureRow unreachable;
    Add(unreachable, FailureRow::kUnreachable - 1, Failed(Outlook::Unreachable));
    EXPECT_FALSE(unreachable.IsHopeless());
    Add(unreachable, 1, Failed(Outlook::Unreachable, "nobody listens"));
    EXPECT_TRUE(unreachable.IsHopeless());
    EXPECT_EQ(unreachable.Describe(),
              "16 tiles in a row failed for want of a connection; the last one: nobody listens");
}

TEST(FailureRow, EndsWithAnyAnswerOfTheService)
{
    for (const TileOutcome answer : {TileOutcome::Made, TileOutcome::Hole}) {
        FailureRow row;
        Add(row, FailureRow::kRefused - 1, Failed(Outlook::Refused));
        Add(row, 1, {answer, 0, {}});
        Add(row, FailureRow::kRefused - 1, Failed(Outlook::Refused));
        EXPECT_FALSE(row.IsHopeless());
        Add(row, 1, Failed(Outlook::Refused));
        EXPECT_TRUE(row.IsHopeless());
    }
}

TEST(FailureRow, GoesOnPastWhatSaysNothingOfTheService)
{
    FailureRow row;
    Add(row, FailureRow::kRefused - 1, Failed(Outlook::Refused));
    Add(row, 1, {TileOutcome::Kept, 5, {}});
    Add(row, 1, Failed(Outlook::Open));
    EXPECT_FALSE(row.IsHopeless());
    Add(row, 1, Failed(Outlook::Refused));
    EXPECT_TRUE(row.IsHopeless());
    FailureRow open;
    Add(open, 1000, Failed(Outlook::Open));
    EXPECT_FALSE(open.IsHopeless()) << "a broken server may mend";
}

TEST(FailureRow, BeginsAnewWithAnotherReason)
{
    FailureRow row;
    Add(row, FailureRow::kUnreachable - 1, Failed(Outlook::Unreachable));
    Add(row, 1, Failed(Outlook::Refused));
    Add(row, 1, Failed(Outlook::Unreachable));
    EXPECT_FALSE(row.IsHopeless());
}

TEST(FailureRow, IsOnlyDoubtfulWhileATileBegunBeforeIsInWork)
{
    for (const TileOutcome late : {TileOutcome::Made, TileOutcome::Hole, TileOutcome::Failed}) {
        FailureRow row;
        const std::uint64_t slow = row.Begin();
        Add(row, FailureRow::kUnreachable, Failed(Outlook::Unreachable));
        EXPECT_TRUE(row.IsDoubtful());
        EXPECT_FALSE(row.IsHopeless()) << "the slow one may come out well";
        row.Add(slow, {late, 0, {}, Outlook::Open});
        EXPECT_EQ(row.IsDoubtful(), late == TileOutcome::Failed);
        EXPECT_EQ(row.IsHopeless(), late == TileOutcome::Failed);
    }
}

TEST(FailureRow, LeavesOutFailuresOfTilesBegunBeforeOneThatWasAnswered)
{
    FailureRow row;
    std::vector<std::uint64_t> slow;
    for (int i = 0; i < FailureRow::kUnreachable; ++i)
        slow.push_back(row.Begin());
    Add(row, 1, {TileOutcome::Made, 0, {}});
    for (const std::uint64_t number : slow)
        row.Add(number, Failed(Outlook::Unreachable));
    EXPECT_FALSE(row.IsDoubtful());
    Add(row, FailureRow::kUnreachable - 1, Failed(Outlook::Unreachable));
    EXPECT_FALSE(row.IsDoubtful());
    Add(row, 1, Failed(Outlook::Unreachable));
    EXPECT_TRUE(row.IsHopeless());
}

Outlook OutlookAfter(int status, bool unreached, KxC::NetError result = KxC::NetError_Failure)
{
    KxC::KxNetRequestInfo info;
    info.m_result = result;
    info.m_nHttpStatus = status;
    info.m_bUnreached = unreached;
    KxC::KxNetGetch::SetLastRequestInfo(info);
    return OutlookOfLastRequest();
}

TEST(OutlookOfLastRequest, TellsRefusalsFromWhatMayPass)
{
    for (const int status : {401, 403, 418, 429})
        EXPECT_EQ(OutlookAfter(status, false), Outlook::Refused) << status;
    for (const int status : {0, 200, 400, 500, 503})
        EXPECT_EQ(OutlookAfter(status, false), Outlook::Open) << status;
    EXPECT_EQ(OutlookAfter(0, true), Outlook::Unreachable);
    EXPECT_EQ(OutlookAfter(404, false, KxC::NetError_NoData), Outlook::Open);
    EXPECT_EQ(OutlookAfter(200, false, KxC::NetError_Success), Outlook::Open);
    KxC::KxNetGetch::ClearLastRequestInfo();
    EXPECT_EQ(OutlookOfLastRequest(), Outlook::Open) << "no request was sent";
}

} // namespace
} // namespace KxTileHost
