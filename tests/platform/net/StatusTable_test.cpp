// SPDX-License-Identifier: MIT
#include "StatusTable.h"

#include <gmock/gmock.h>

namespace KxC::Http {

TEST(StatusTable, OnlyWholeAnswersAreTiles)
{
    for (int status = 0; status < 1000; ++status) {
        const bool isNoData = status == 204 || status == 404 || status == 410;
        const bool isTile = status >= 200 && status < 300 && status != 204 && status != 206;
        EXPECT_EQ(isTile ? 0 : isNoData ? 7 : 6, ResultOfStatus(status)) << status;
    }
}

TEST(StatusTable, BrokenAnswersFailWhateverTheirStatus)
{
    HttpAnswer answer;
    answer.status = 200;
    answer.cause = "broke off";
    EXPECT_EQ(NetError_Failure, ResultOf(answer));
    EXPECT_EQ("broke off", CauseOf(answer));
}

TEST(StatusTable, SaysWhatTheServerSaid)
{
    HttpAnswer answer;
    answer.complete = true;
    answer.status = 403;
    EXPECT_THAT(CauseOf(answer), ::testing::HasSubstr("403"));
    EXPECT_THAT(CauseOf(answer), ::testing::HasSubstr("check the key"));
}

TEST(StatusTable, BlockedProgramsAreToldToStop)
{
    HttpAnswer answer;
    answer.complete = true;
    answer.status = 418;
    EXPECT_THAT(CauseOf(answer), ::testing::HasSubstr("asks to be left alone: stop"));
    EXPECT_THAT(CauseOf(answer), ::testing::Not(::testing::HasSubstr("check the address")));
}

TEST(StatusTable, FourStatusesPass)
{
    for (int status = 0; status < 1000; ++status)
        EXPECT_EQ(status == 429 || status == 502 || status == 503 || status == 504,
                  IsTransientStatus(status));
}

} // namespace KxC::Http
